#include "host/ClassFactory.h"

#include <map>
#include <mutex>

#include "host/Collections.h"
#include "host/Components.h"
#include "host/FolderStream.h"
#include "host/Hostility.h"
#include "host/Inputs.h"
#include "host/MessageWindows.h"
#include "host/Variants.h"
#include "host/XmlStream.h"

namespace host {

namespace {

struct ClassTable {
    std::mutex mutex;
    std::map<std::wstring, ClassRegistry::Factory> factories;
};

ClassTable& classTable() {
    static ClassTable* table = [] {
        auto* standard = new ClassTable;
        standard->factories[L"CreatableString"] = [] { return SmartPtr<IUnknown>(make<String>()); };
        standard->factories[L"Variant"] = [] { return SmartPtr<IUnknown>(make<Variant>()); };
        standard->factories[L"SuperCollection"] = [] { return SmartPtr<IUnknown>(make<SuperCollection>()); };
        standard->factories[L"ComponentString"] = [] { return SmartPtr<IUnknown>(make<ComponentString>()); };
        standard->factories[L"InputParameters"] = [] { return make<InputParameters>().query<IUnknown>(); };
        standard->factories[L"InputParameter"] = [] { return make<InputParameter>().query<IUnknown>(); };
        standard->factories[L"CollectionMoniker"] = [] { return make<CollectionMoniker>().query<IUnknown>(); };
        standard->factories[L"FolderStream"] = [] { return make<FolderStream>().query<IUnknown>(); };
        standard->factories[L"XmlStream"] = [] { return XmlStream::create(L"Root").query<IUnknown>(); };
        standard->factories[L"MessageWindow"] = [] { return make<MessageWindow>().query<IUnknown>(); };
        standard->factories[L"GlobalComponentCollection"] = [] { return SmartPtr<IUnknown>(makeStandardComponents()); };
        return standard;
    }();
    return *table;
}

std::mutex gResolverMutex;
ObjectResolver gResolver;

}  // namespace

void ClassRegistry::add(const std::wstring& className, Factory factory) {
    ClassTable& table = classTable();
    std::lock_guard<std::mutex> lock(table.mutex);
    table.factories[className] = std::move(factory);
}

SmartPtr<IUnknown> ClassRegistry::create(const std::wstring& className) {
    HRESULT hostile = S_OK;
    if (Hostility::refuses(hostile)) return nullptr;
    Factory factory;
    {
        ClassTable& table = classTable();
        std::lock_guard<std::mutex> lock(table.mutex);
        auto found = table.factories.find(className);
        if (found == table.factories.end()) return nullptr;
        factory = found->second;
    }
    return factory();
}

const ClassRegistry::Factory* ClassRegistry::find(const std::wstring& className) {
    ClassTable& table = classTable();
    std::lock_guard<std::mutex> lock(table.mutex);
    auto found = table.factories.find(className);
    return found == table.factories.end() ? nullptr : &found->second;
}

SmartPtr<IUnknown> ClassRegistry::create(const Factory& factory) {
    HRESULT hostile = S_OK;
    if (Hostility::refuses(hostile)) return nullptr;
    return factory();
}

void setObjectResolver(ObjectResolver resolver) {
    std::lock_guard<std::mutex> lock(gResolverMutex);
    gResolver = std::move(resolver);
}

SmartPtr<IUnknown> createModuleObject(CREATEFUNCTIONFUNCTION create, const std::wstring& className) {
    CREATEFUNCTION creator = nullptr;
    const tagREFString name = {static_cast<int32_t>(className.size()), className.c_str()};
    if (!create || create(name, &creator) != S_OK || !creator) return nullptr;
    SmartPtr<IUnknown> object;
    if (creator(nullptr, &IID_IUnknown, object.put_void()) != S_OK) return nullptr;
    return object;
}

ObjectResolver moduleResolver(CREATEFUNCTIONFUNCTION create) {
    return [create](const std::wstring& className) { return createModuleObject(create, className); };
}

SmartPtr<IUnknown> createObjectOfClass(const std::wstring& className) {
    if (SmartPtr<IUnknown> object = ClassRegistry::create(className)) return object;
    ObjectResolver resolver;
    {
        std::lock_guard<std::mutex> lock(gResolverMutex);
        resolver = gResolver;
    }
    return resolver ? resolver(className) : nullptr;
}

std::wstring classNameOf(IUnknown* object) {
    if (SmartPtr<IObjectInfo> info = queryInterface<IObjectInfo>(object)) {
        tagREFString name = {0, nullptr};
        if (SUCCEEDED(info->GetName(0, &name)) && name.text && name.count > 0) return textOf(name);
    }
    if (queryInterface<ICollectionMoniker>(object)) return L"CollectionMoniker";
    if (queryInterface<IInputParameters>(object)) return L"InputParameters";
    if (queryInterface<IInputParameter>(object)) return L"InputParameter";
    if (queryInterface<IFolderStream>(object)) return L"FolderStream";
    return std::wstring();
}

}  // namespace host
