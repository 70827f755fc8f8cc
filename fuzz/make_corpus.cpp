// Writes the seed corpora in fuzz/corpus/<target>/: every step class saved by
// the module in both stream forms (as made, and as the example programs
// configure it), cut-short and entry-by-entry variants of them, the example
// programs with a few damaged ones, and inputs in the byte layout of the
// other targets that reach each of their operations.
// Usage: fuzz_make_corpus SOURCE_DIR   (run from anywhere; rewrites the seeds)
#include <dirent.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz/FuzzHost.h"
#include "host/FolderStream.h"
#include "host/Variants.h"
#include "host/XmlStream.h"
#include "module/Registry.h"
#include "stephost/ProgramReader.h"
#include "stephost/ProgramRunner.h"

namespace {

using fuzz::className;
using fuzz::createStep;

std::string gCorpus;

void writeSeed(const std::string& target, const std::string& name, const std::string& bytes) {
    const std::string path = gCorpus + "/" + target + "/" + name;
    std::ofstream out(path, std::ios::binary);
    out << bytes;
    if (!out) std::fprintf(stderr, "cannot write %s\n", path.c_str());
}

// The inverse of fuzz::Reader.
class Encoder {
public:
    Encoder& byte(uint8_t value) {
        m_Bytes += static_cast<char>(value);
        return *this;
    }
    Encoder& int16(int16_t value) { return byte(value & 0xFF).byte((value >> 8) & 0xFF); }
    Encoder& int32(int32_t value) {
        for (int i = 0; i < 4; ++i) byte(static_cast<uint8_t>(static_cast<uint32_t>(value) >> (8 * i)));
        return *this;
    }
    Encoder& real(double value) {
        uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        for (int i = 0; i < 8; ++i) byte(static_cast<uint8_t>(bits >> (8 * i)));
        return *this;
    }
    Encoder& text(const std::wstring& value) {
        byte(static_cast<uint8_t>(value.size()));
        for (wchar_t c : value) {
            const uint32_t code = static_cast<uint32_t>(c);
            if (code < 0x80) {
                byte(static_cast<uint8_t>(code));
            } else if (code < 0x7F00) {
                byte(static_cast<uint8_t>(0x80 | (code >> 8))).byte(code & 0xFF);
            } else {
                byte(0xFF).int32(static_cast<int32_t>(code));
            }
        }
        return *this;
    }
    Encoder& raw(const std::string& bytes) {
        m_Bytes += bytes;
        return *this;
    }
    const std::string& bytes() const { return m_Bytes; }

private:
    std::string m_Bytes;
};

int classIndex(const std::wstring& name) {
    for (int i = 0; i < kModuleClassCount; ++i) {
        if (className(i) == name) return i;
    }
    return -1;
}

std::string header(int index, int form) { return std::string{static_cast<char>(index), static_cast<char>(form)}; }

void persistSeeds(int index, IUnknown* step, const std::string& tag, bool damaged) {
    const std::string name = host::narrow(className(index)) + tag;
    SmartPtr<IDataPersist> persist = queryInterface<IDataPersist>(step);
    SmartPtr<host::FolderStream> folder = host::make<host::FolderStream>();
    persist->Save(folder.get(), 0);
    const std::string folderText = folder->save();
    writeSeed("persist", name + ".folder", header(index, 0) + folderText);
    SmartPtr<host::XmlStream> xml = host::XmlStream::create(className(index));
    // The Edit and Verb steps keep themselves in folder streams only.
    if (persist->Save(xml.get(), 0) >= 0) writeSeed("persist", name + ".xml", header(index, 1) + xml->save());
    if (damaged) {
        // Cut short at a line: entries and folders missing at the end.
        size_t cut = folderText.size() / 2;
        cut = folderText.find('\n', cut);
        if (cut != std::string::npos)
            writeSeed("persist", name + ".cut.folder", header(index, 0) + folderText.substr(0, cut + 1));
    }
}

// Entry-by-entry trees: the layouts the loaders expect, with values of the
// wrong kinds and a binary block of each size around the Edit step's area.
void treeSeeds() {
    for (int index = 0; index < kModuleClassCount; ++index) {
        Encoder e;
        e.byte(static_cast<uint8_t>(index)).byte(2);
        e.byte(0).byte(0);                                     // folder "Parameters"
        e.byte(3).byte(3).int32(1);                            // "Value" = 1
        e.byte(5).byte(4).text(L"text");                       // "Descriptor" = "text"
        e.byte(6).byte(0xE0).text(L"Item1").text(L"a|b");      // a string object
        e.byte(1);                                             // up
        e.byte(0).byte(1);                                     // folder "Inputs"
        e.byte(7).byte(24).byte(static_cast<uint8_t>(index));  // "InputParameter": a step object
        e.byte(1);
        e.byte(2).byte(2).byte(static_cast<uint8_t>(index % 3 == 0 ? 16 : 12)).raw(std::string(16, '\x01'));  // "Rect"
        e.byte(8).byte(9).int32(-1).byte(1);  // "ItemSize" scalar
        writeSeed("persist", host::narrow(className(index)) + ".tree", e.bytes());
    }
}

void programSeeds(const std::string& source) {
    const std::string examples = source + "/examples";
    DIR* dir = opendir(examples.c_str());
    if (!dir) return;
    std::vector<std::string> files;
    while (dirent* entry = readdir(dir)) {
        const std::string name = entry->d_name;
        if (name.size() > 4 && name.compare(name.size() - 4, 4, ".xml") == 0) files.push_back(name);
    }
    closedir(dir);
    std::set<int> configured;
    for (const std::string& file : files) {
        std::ifstream in(examples + "/" + file, std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        writeSeed("program", file, text.str());

        fuzz::HostScope scope;
        stephost::ProgramFile program;
        std::string error;
        if (!stephost::parseProgram(text.str(), program, error)) continue;
        {
            stephost::ProgramRunner runner(CreateFunction, nullptr, scope.components.get());
            if (!runner.build(program, error)) continue;
            SmartPtr<host::FolderStream> root = host::make<host::FolderStream>();
            if (!root->load(runner.saveFolder())) continue;
            for (const std::wstring& name : root->names()) {
                const int index = classIndex(root->classOf(name));
                if (index < 0 || configured.count(index)) continue;
                SmartPtr<IUnknown> step;
                if (root->ReadObject(host::makeString(name).get(), step.put(), 0) < 0 || !step) continue;
                configured.insert(index);
                persistSeeds(index, step.get(), ".configured", true);
            }
        }
        // Damaged: the first step's class unknown, an input bound to nothing declared.
        std::string damaged = text.str();
        const size_t at = damaged.find("class=\"GC");
        if (at != std::string::npos && file == "all-steps.xml") {
            writeSeed("program", "damaged-class.xml",
                      damaged.substr(0, at) + "class=\"GCNoSuchStep" + damaged.substr(at + 9));
        }
        const size_t object = damaged.find("object=\"");
        if (object != std::string::npos && file == "property-write.xml") {
            writeSeed("program", "damaged-binding.xml",
                      damaged.substr(0, object) + "object=\"Nobody" + damaged.substr(object + 8));
        }
    }
}

void textSeeds() {
    // Views cut by every operation in turn, then the number readers.
    Encoder all;
    all.byte(7).text(L"  \"quoted word\" -12.5e+3 name_1, a\r\nb\n\rc\\d/e #1F 0x10 \xFEtail").byte(0);
    for (uint8_t op = 0; op < 20; ++op) {
        all.byte(op | ((op & 1) ? 0x20 : 0));
        if (op == 0 || op == 2 || op == 3 || op == 4) all.byte(op == 0 ? '\n' : '/');
        if (op == 5 || op == 7 || op == 9) all.text(L", /");
        if (op == 8) all.text(L"word");
        if (op == 10) all.text(L"  \"QUOTED");
        if (op == 11) all.byte(16);
        if (op == 12) all.int16(-1);
        if (op == 14) all.byte(6).raw("\xC3\xA9\xE2\x82").int16(3);
        if (op == 15) all.int32(0x123456).real(1e300).int16(300);
        if (op == 16 || op == 17) continue;
    }
    all.byte(3).text(L"Exposure").byte(0).text(L"#1A").byte(1).int32(5).text(L"exposure").byte(0);
    all.byte(2).text(L"a").text(L"12").byte(0).text(L"b").text(L"1.5").byte(1).text(L"c").text(L"x").byte(2);
    for (uint8_t op = 0; op < 10; ++op) all.byte(op).byte(op % 3).int32(7);
    writeSeed("text", "every-operation", all.bytes());

    const std::wstring numbers[] = {L"2147483648",
                                    L"-999999999",
                                    L"#FFFFFFFF",
                                    L"1.79e308",
                                    L"-0.000000000000000001",
                                    L"\xFEF\xEF 42",
                                    L"12345678901234567890.5"};
    int n = 0;
    for (const std::wstring& number : numbers) {
        Encoder e;
        e.byte(1).text(number).byte(0).byte(11).byte(10).byte(12).int16(-1).byte(12).int16(-42).byte(12).int16(200);
        writeSeed("text", "number-" + std::to_string(n++), e.bytes());
    }
}

void fileNameSeeds() {
    const char* settings =
        "[Workspace]\nInstallPath=/opt/inspect\nAppPath = \"/opt/app/sub \"\n"
        "[Mappings]\nImages=/media/img\nWindows=C:\\data\n; comment\n";
    const std::wstring paths[] = {
        L"/opt/inspect/data/a.png", L"[Images]/x.png", L"..\\..\\x",     L"//opt/inspect", L"C:\\data\\b",
        L"[InstallPath]",           L"[Nowhere]/x",    L"relative\\name"};
    for (int op = 0; op < 8; ++op) {
        Encoder e;
        e.byte(0).byte(1).int16(static_cast<int16_t>(std::strlen(settings))).raw(settings);
        e.byte(2).byte(0x20).text(L"/long/path/").byte(8).byte(0x05).text(L"/opt/x");
        for (const std::wstring& path : paths)
            e.byte(static_cast<uint8_t>(op | (op & 1 ? 0x10 : 0))).byte(0).text(path).byte(0).text(L"/opt/app");
        writeSeed("filenames", "op-" + std::to_string(op), e.bytes());
    }
    Encoder none;
    none.byte(0x5A).byte(0).byte(0).byte(2).byte(0).text(L"/opt/inspect/a").byte(3).byte(0x80).text(L"/a");
    writeSeed("filenames", "no-store", none.bytes());
}

void propWriteSeeds() {
    for (int variant = 0; variant < 4; ++variant) {
        Encoder e;
        e.byte(variant == 3 ? 0x1F : 0x03).byte(0);  // faces, class Camera
        e.int16(100).int16(107);
        e.byte(4);  // properties
        e.byte(0).byte(3).byte(0).int32(20).text(L"");
        e.byte(1).byte(0x43).byte(0).int32(1).text(L"Auto;Manual");
        e.byte(2).byte(4).byte(0).int32(0x40200000).text(L"");
        e.byte(3).byte(7).byte(0).int32(0).text(L"").byte(0x12).byte(1);
        e.byte(5);  // names
        e.byte(0).byte(0).text(L"Exposure");
        e.byte(0).byte(4).text(L"Gain");
        e.byte(0).byte(0x11).text(L"1A").text(L"Hex");
        e.byte(0).byte(2).int32(-5).text(L"x").text(L"Negative");
        e.byte(0).byte(3).text(L"99999999999999999999").text(L"Huge");
        e.byte(variant & 1);
        if (variant & 1) e.byte(0).byte(0).int32(3);  // an item that is a number
        e.byte(1).text(L"Own").int32(4);
        e.byte(5);  // step parameters
        e.byte(0).text(L"EXPOSURE").byte(0).int32(35);
        e.byte(0).text(L"mode").byte(3).text(L" 2");
        e.byte(0).text(L"hex").byte(1).real(1e39);
        e.byte(0).text(L"Huge").byte(2).text(L"label");
        e.byte(0).text(L"Own").byte(4).text(L"View");
        e.byte(static_cast<uint8_t>(variant == 2 ? 5 : 4 | (variant & 1)));
        writeSeed("propwrite", "camera-" + std::to_string(variant), e.bytes());
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_make_corpus SOURCE_DIR\n");
        return 2;
    }
    const std::string source = argv[1];
    gCorpus = source + "/fuzz/corpus";
    {
        fuzz::HostScope scope;
        for (int index = 0; index < kModuleClassCount; ++index) {
            SmartPtr<IUnknown> step = createStep(index);
            persistSeeds(index, step.get(), "", false);
        }
        treeSeeds();
        textSeeds();
        fileNameSeeds();
        propWriteSeeds();
    }
    programSeeds(source);
    return 0;
}
