// Programs of 10, 100 and 1 000 steps saved into the host's folder and XML
// streams and loaded back into fresh steps: the cost per step must not grow
// with the program.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench/Scenario.h"
#include "host/FolderStream.h"
#include "host/Inputs.h"
#include "host/Variants.h"
#include "host/XmlStream.h"
#include "module/Flukokzad.h"
#include "runtime/Interfaces.h"
#include "runtime/SmartPtr.h"

namespace bench {
namespace {

// The steps of a program, cycling through the fourteen classes, each with an
// input bound to a moniker.
struct Program {
    static constexpr const wchar_t* kClasses[] = {
        L"GCUIActivate", L"GCUIButtonSelect", L"GCUIConfirm",  L"GCUIEdit",      L"GCUIInput",
        L"GCUIMessage",  L"GCUIPointer",      L"GCUIPropRead", L"GCUIPropWrite", L"GCUIRefresh",
        L"GCUIScroll",   L"GCTabGetSelected", L"GCTabSelect",  L"GCUIVerb",
    };

    std::vector<SmartPtr<IDataPersist>> steps;
    std::vector<SmartPtr<IString>> folderNames;
    SmartPtr<host::FolderStream> saved;

    static SmartPtr<IDataPersist> create(size_t index) {
        const wchar_t* name = kClasses[index % 14];
        CREATEFUNCTION creator = nullptr;
        CreateFunction({static_cast<int32_t>(std::wcslen(name)), name}, &creator);
        SmartPtr<IDataPersist> step;
        if (creator) creator(nullptr, &IID_IDataPersist, step.put_void());
        return step;
    }

    explicit Program(int32_t size) {
        for (int32_t i = 0; i < size; ++i) {
            steps.push_back(create(static_cast<size_t>(i)));
            folderNames.push_back(host::makeString(L"Step" + std::to_wstring(i)));
            SmartPtr<IInputParameters> inputs = steps.back().query<IInputParameters>();
            SmartPtr<IUnknown> item;
            if (inputs && inputs->get_Item(0, item.put()) >= 0) {
                SmartPtr<IUnknown> moniker = host::make<host::CollectionMoniker>(L"Object").query<IUnknown>();
                item.query<IInputParameter>()->put_Object(moniker.get());
            }
        }
        saved = save();
    }

    SmartPtr<host::FolderStream> save() const {
        SmartPtr<host::FolderStream> root = host::make<host::FolderStream>();
        for (size_t i = 0; i < steps.size(); ++i) {
            SmartPtr<IFolderStream> folder;
            root->CreateFolder(folderNames[i].get(), 0, folder.put());
            steps[i]->Save(folder.get(), 0);
        }
        return root;
    }

    // One "Step" element per step.
    SmartPtr<host::XmlStream> saveXml() const {
        SmartPtr<host::XmlStream> root = host::XmlStream::create(L"Program");
        SmartPtr<IString> element = host::makeString(L"Step");
        for (const SmartPtr<IDataPersist>& step : steps) {
            root->BeginElement(element.get(), 0, 0);
            step->Save(root.get(), 0);
            root->EndElement();
        }
        return root;
    }

    void loadXml(host::XmlStream* document) const {
        tagREFString name = {0, nullptr};
        for (size_t i = 0; i < steps.size() && document->NextElement(&name) >= 0; ++i) {
            SmartPtr<IXMLStream> element;
            document->OpenElement(name.count, name.text, nullptr, element.put(), 1);
            SmartPtr<IDataPersist> step = create(i);
            step->Load(element.get(), 0);
        }
    }

    // Fresh steps, each loaded from its folder.
    void load() const {
        for (size_t i = 0; i < steps.size(); ++i) {
            SmartPtr<IDataPersist> step = create(i);
            SmartPtr<host::FolderStream> folder = saved->folder(L"Step" + std::to_wstring(i));
            step->Load(folder.get(), 0);
        }
    }
};

void registerSize(int32_t size) {
    const std::string n = std::to_string(size);
    const double target = size == 10 ? 0 : 1.5;
    const int64_t runs = size >= 1000 ? 1 : (size >= 100 ? 4 : 40);
    Registration({"persistence/folder/save/" + n, size == 10 ? "" : "persistence/folder/save/10", target, 0, 1, size,
                  runs, [size] {
                      return loopWith(std::make_unique<Program>(size),
                                      [](Program& program) { benchmark::DoNotOptimize(program.save()); });
                  }});
    Registration(
        {"persistence/folder/load/" + n, size == 10 ? "" : "persistence/folder/load/10", target, 0, 1, size, runs,
         [size] { return loopWith(std::make_unique<Program>(size), [](Program& program) { program.load(); }); }});
}

struct XmlProgram {
    Program program;
    std::string text;
    explicit XmlProgram(int32_t size) : program(size), text(program.saveXml()->save()) {}
};

void registerXml(int32_t size) {
    const std::string n = std::to_string(size);
    const double target = size == 10 ? 0 : 1.5;
    const int64_t runs = size >= 1000 ? 1 : (size >= 100 ? 4 : 40);
    Registration(
        {"persistence/xml/save/" + n, size == 10 ? "" : "persistence/xml/save/10", target, 0, 1, size, runs, [size] {
             return loopWith(std::make_unique<XmlProgram>(size),
                             [](XmlProgram& xml) { benchmark::DoNotOptimize(xml.program.saveXml()->save()); });
         }});
    Registration(
        {"persistence/xml/load/" + n, size == 10 ? "" : "persistence/xml/load/10", target, 0, 1, size, runs, [size] {
             return loopWith(std::make_unique<XmlProgram>(size), [](XmlProgram& xml) {
                 SmartPtr<host::XmlStream> document = host::XmlStream::parse(xml.text);
                 xml.program.loadXml(document.get());
             });
         }});
}

const bool kRegistered = [] {
    for (int32_t size : {10, 100, 1000}) registerSize(size);
    for (int32_t size : {10, 100, 1000}) registerXml(size);
    return true;
}();

}  // namespace
}  // namespace bench
