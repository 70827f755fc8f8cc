// The loaders of every step class: the input chooses the class and a stream
// (a folder stream's text form, an XML document, or a folder tree built entry
// by entry), the step loads itself from it, and a step that loaded saves
// itself in both forms and loads again from what it saved. Nothing runs.
#include <string>
#include <vector>

#include "fuzz/FuzzHost.h"
#include "host/FolderStream.h"
#include "host/Variants.h"
#include "host/XmlStream.h"
#include "module/Registry.h"

namespace {

using fuzz::className;
using fuzz::createStep;

// The names of the entries the steps' loaders look for, and a few they do not.
const wchar_t* const kEntryNames[] = {
    L"Parameters",
    L"Inputs",
    L"Rect",
    L"Value",
    L"Descriptor",
    L"Flags",
    L"Item1",
    L"Item2",
    L"ItemSize",
    L"Caption",
    L"Action",
    L"VerbObject",
    L"Wait",
    L"Run",
    L"ReturnCode",
    L"Preferences",
    L"ShowClose",
    L"ShowHelp",
    L"SaveLocation",
    L"HelpFile",
    L"AccessLevel",
    L"WindowLess",
    L"OptionalViewer",
    L"ShowSaveLoad",
    L"InputParameter",
    L"InputParameters",
    L"ItemDescriptor",
    L"Edit",
    L"",
    L"Unknown",
};
constexpr int kEntryNameCount = sizeof kEntryNames / sizeof kEntryNames[0];

SmartPtr<IString> entryName(fuzz::Reader& in) {
    const uint8_t pick = in.byte();
    if (pick < 0xE0) return host::makeString(kEntryNames[pick % kEntryNameCount]);
    if (pick == 0xFF) return nullptr;
    return host::makeString(in.text(24));
}

// A folder tree from the input: entries of every kind, sub-folders up to a
// few deep, objects of the module's classes saved where a loader may not
// expect them.
void buildTree(fuzz::Reader& in, IFolderStream* root) {
    std::vector<SmartPtr<IFolderStream>> open{SmartPtr<IFolderStream>(root)};
    for (int step = 0; step < 96 && !in.done(); ++step) {
        IFolderStream* folder = open.back().get();
        const uint8_t op = in.byte();
        switch (op % 10) {
            case 0: {
                SmartPtr<IFolderStream> sub;
                if (folder->CreateFolder(entryName(in).get(), 0, sub.put()) >= 0 && sub && open.size() < 8) {
                    open.push_back(sub);
                }
                break;
            }
            case 1:
                if (open.size() > 1) open.pop_back();
                break;
            case 2: {
                SmartPtr<IString> name = entryName(in);
                std::string bytes;
                const uint8_t size = in.byte();
                for (uint8_t i = 0; i < size && !in.done(); ++i) bytes += static_cast<char>(in.byte());
                folder->WriteBinary(name.get(), bytes.data(), static_cast<int32_t>(bytes.size()), 0);
                break;
            }
            case 3: {
                SmartPtr<IString> name = entryName(in);
                folder->WriteValue(name.get(), host::makeVariant(in.int32()).get());
                break;
            }
            case 4: {
                SmartPtr<IString> name = entryName(in);
                folder->WriteValue(name.get(), host::makeVariant(in.real()).get());
                break;
            }
            case 5: {
                SmartPtr<IString> name = entryName(in);
                folder->WriteValue(name.get(), host::makeVariant(in.text(48)).get());
                break;
            }
            case 6: {
                SmartPtr<IString> name = entryName(in);
                folder->WriteObject(name.get(), host::makeString(in.text(48)).query<IUnknown>().get(), 0);
                break;
            }
            case 7: {
                SmartPtr<IString> name = entryName(in);
                SmartPtr<IUnknown> step = createStep(in.byte() % kModuleClassCount);
                folder->WriteObject(name.get(), step.get(), 0);
                break;
            }
            case 8: {
                SmartPtr<IString> name = entryName(in);
                const int32_t value = in.int32();
                folder->WriteScalar(name.get(), &value, in.byte() % 4);
                break;
            }
            default: {
                const std::string bytes = std::string(in.byte() % 16, static_cast<char>(in.byte()));
                folder->Write(bytes.data(), static_cast<int32_t>(bytes.size()), 0);
                break;
            }
        }
    }
}

void touchParameters(IUnknown* step) {
    SmartPtr<IParameters> parameters = queryInterface<IParameters>(step);
    if (!parameters) return;
    int32_t count = 0;
    parameters->get_Count(&count);
    for (int32_t i = 0; i < count && i < 64; ++i) {
        SmartPtr<IString> name;
        SmartPtr<IVariant> value;
        SmartPtr<IUnknown> descriptor;
        int32_t flags = 0;
        parameters->Iterate(i, name.put(), value.put(), descriptor.put(), &flags);
    }
}

// A step's save in one form, loaded into a fresh step of its class and saved
// again; "" when the text does not read back or the step does not load.
std::string savedAgain(int index, const std::string& text, bool xmlForm) {
    SmartPtr<IUnknown> again = createStep(index);
    SmartPtr<IDataPersist> persist = queryInterface<IDataPersist>(again.get());
    if (xmlForm) {
        SmartPtr<host::XmlStream> back = host::XmlStream::parse(text);
        if (!back) {
            std::fprintf(stderr, "fuzz: a step's XML save does not read back\n");
            std::abort();
        }
        if (persist->Load(back.get(), 0) < 0) return std::string();
        touchParameters(again.get());
        SmartPtr<host::XmlStream> saved = host::XmlStream::create(className(index));
        persist->Save(saved.get(), 0);
        return saved->save();
    }
    SmartPtr<host::FolderStream> back = host::make<host::FolderStream>();
    if (!back->load(text)) {
        std::fprintf(stderr, "fuzz: a step's folder save does not read back\n");
        std::abort();
    }
    if (persist->Load(back.get(), 0) < 0) return std::string();
    touchParameters(again.get());
    SmartPtr<host::FolderStream> saved = host::make<host::FolderStream>();
    persist->Save(saved.get(), 0);
    return saved->save();
}

// Saves the step in both forms, loads fresh steps from what it saved and
// saves them again. The first reload may still change the text where the
// host's stream itself cannot carry what was written (an XML name with
// characters XML cannot hold comes back with U+FFFD); after it, loading and
// saving must give the same text: a save that keeps losing or changing
// what it wrote is a finding.
void saveAndReload(int index, IUnknown* step) {
    SmartPtr<IDataPersist> persist = queryInterface<IDataPersist>(step);
    for (const bool xmlForm : {false, true}) {
        std::string first;
        if (xmlForm) {
            SmartPtr<host::XmlStream> xml = host::XmlStream::create(className(index));
            if (persist->Save(xml.get(), 0) < 0) continue;
            first = xml->save();
        } else {
            SmartPtr<host::FolderStream> folder = host::make<host::FolderStream>();
            if (persist->Save(folder.get(), 0) < 0) continue;
            first = folder->save();
        }
        const std::string second = savedAgain(index, first, xmlForm);
        if (second.empty()) continue;
        const std::string third = savedAgain(index, second, xmlForm);
        if (second != third) {
            std::fprintf(stderr, "fuzz: the %s form keeps changing when saved again\n--- once\n%s\n--- twice\n%s\n",
                         xmlForm ? "XML" : "folder", second.c_str(), third.c_str());
            std::abort();
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 64 * 1024) return 0;
    fuzz::HostScope scope;
    fuzz::Reader in(data, size);
    const int index = in.byte() % kModuleClassCount;
    const uint8_t form = in.byte() % 3;

    SmartPtr<IDataStream> stream;
    if (form == 0) {
        SmartPtr<host::FolderStream> folder = host::make<host::FolderStream>();
        if (!folder->load(in.rest())) return 0;
        stream = folder.query<IDataStream>();
    } else if (form == 1) {
        SmartPtr<host::XmlStream> xml = host::XmlStream::parse(in.rest());
        if (!xml) return 0;
        stream = xml.query<IDataStream>();
    } else {
        SmartPtr<host::FolderStream> folder = host::make<host::FolderStream>();
        buildTree(in, folder.get());
        stream = folder.query<IDataStream>();
    }

    SmartPtr<IUnknown> step = createStep(index);
    if (!step) std::abort();
    SmartPtr<IDataPersist> persist = queryInterface<IDataPersist>(step.get());
    if (persist->Load(stream.get(), 0) >= 0) {
        touchParameters(step.get());
        saveAndReload(index, step.get());
    }
    return 0;
}
