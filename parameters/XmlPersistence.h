// A step's parameters as XML elements: every parameter with its value as
// text (Params_SaveXML and Params_LoadXML), or only the parameters whose value
// is a persistable object, which saves itself (the "Unk" pair).
#pragma once

#include <cstdint>

#include "parameters/FolderPersistence.h"
#include "parameters/IParametersImpl.h"
#include "runtime/CREFString.h"
#include "runtime/Values.h"

namespace persistence_detail {

// The element's text as a typed variant.
SmartPtr<IVariant> convertedText(IXMLStream* element);

// Whether a counted name equals the word, ignoring case.
bool isNamed(const tagREFString& name, const wchar_t* word);

// The object element of a persistable object: named after its class, filled
// by the object itself.
void writeObjectElement(IXMLStream* xml, IUnknown* object, IDataPersist* persist, int32_t mode);

// Whether the element's name designates the object's class: `creatable`
// wants the element's name to begin with the class name, the other rule
// wants both to agree over the shorter of the two.
bool classMatches(IUnknown* object, const tagREFString& elementName, bool creatable);

}  // namespace persistence_detail

template <class Collection>
HRESULT PARAMSSaveXML(Collection& parameters, IDataStream* stream, int32_t mode) {
    using namespace persistence_detail;
    SmartPtr<IXMLStream> xml = queryInterface<IXMLStream>(stream);
    if (!xml) return S_OK;
    int32_t count = 0;
    parameters.get_Count(&count);
    for (int32_t index = 0; index < count; ++index) {
        const StoredParameter stored = storedParameter(parameters, index);
        const SmartPtr<IString>& name = stored.name;
        const SmartPtr<IVariant>& value = stored.value;
        const SmartPtr<IUnknown>& descriptor = stored.descriptor;
        int32_t flags = stored.flags;
        SmartPtr<IDataPersist> object = descriptor.template query<IDataPersist>();
        flags &= ~0x8000000;

        bool full = object || flags != 0;
        if (mode & MODE_COMPACT) {
            if (flags & PARAMETER_CHOICES) {
                flags &= ~PARAMETER_CHOICES;
                object = nullptr;
            } else if (flags & PARAMETER_RESULT) {
                object = nullptr;
            }
            if (flags == 0x23 && !object && value && value->get_Type() != 0) {
                // An integer shown as a colour is written as its colour text.
                xml->WriteElement(name.get(), 0, ISCreateColor(static_cast<uint32_t>(value->get_Long())).get(), 0);
                continue;
            }
            const int32_t kind = flags & PARAMETER_KIND_MASK;
            if (kind == 3 || kind == 5 || kind == 6 || flags == 9) flags = 0;
            full = object || flags != 0;
        }
        SmartPtr<IString> text = value ? ISCreate(value.get()) : nullptr;
        if (!full) {
            xml->WriteElement(name.get(), 0, text.get(), 0);
            continue;
        }
        xml->BeginElement(name.get(), 0, 0);
        xml->WriteElement(nameString(L"Value").get(), 0, text.get(), 0);
        if (flags != 0) xml->WriteElement(nameString(L"Flags").get(), 0, ISCreateHex(static_cast<uint32_t>(flags)).get(), 0);
        if (object) writeObjectElement(xml.get(), descriptor.get(), object.get(), mode);
        xml->EndElement();
    }
    return S_OK;
}

template <class Collection>
HRESULT PARAMSLoadXML(Collection& parameters, IDataStream* stream, int32_t mode) {
    using namespace persistence_detail;
    SmartPtr<IXMLStream> xml = queryInterface<IXMLStream>(stream);
    if (!xml) return S_OK;
    const bool rebuild = (mode & MODE_REBUILD) != 0;
    if (rebuild) parameters.RemoveAll();
    tagREFString name = {0, nullptr};
    while (xml->NextElement(&name) >= 0) {
        SmartPtr<IXMLStream> element;
        if (xml->OpenElement(name.count, name.text, nullptr, element.put(), 1) < 0 || !element) continue;
        SmartPtr<IString> parameterName = ISCreate(name);
        if (rebuild) {
            // Full-form elements are not taken apart: their whole text is the value.
            parameters.Add(parameterName.get(), convertedText(element.get()).get(), nullptr, 0);
            continue;
        }
        int32_t index = -1;
        if (parameters.get_Index(parameterName.get(), &index) < 0) continue;
        bool hasChildren = false;
        tagREFString childName = {0, nullptr};
        while (element->NextElement(&childName) >= 0) {
            hasChildren = true;
            SmartPtr<IXMLStream> child;
            if (element->OpenElement(childName.count, childName.text, nullptr, child.put(), 1) < 0 || !child) continue;
            if (isNamed(childName, L"Value")) {
                parameters.put_Item(index, convertedText(child.get()).get());
            } else if (isNamed(childName, L"Flags")) {
                parameters.put_ItemFlags(index, _IS2Integer(CREFString(static_cast<IUnknown*>(child.get())), 10));
            } else {
                SmartPtr<IUnknown> object;
                child->CreateElementObject(childName.count, childName.text, object.put());
                if (object) parameters.put_ItemDescriptor(index, object.get());
            }
        }
        if (!hasChildren) parameters.put_Item(index, convertedText(element.get()).get());
    }
    return S_OK;
}

template <class Collection>
HRESULT PARAMSSaveXMLUnk(Collection& parameters, IDataStream* stream, int32_t mode) {
    using namespace persistence_detail;
    SmartPtr<IXMLStream> xml = queryInterface<IXMLStream>(stream);
    if (!xml) return S_OK;
    int32_t count = 0;
    parameters.get_Count(&count);
    for (int32_t index = 0; index < count; ++index) {
        SmartPtr<IUnknown> item;
        if (parameters.get_Item(index, item.put()) < 0) continue;
        SmartPtr<IDataPersist> persist = item.template query<IDataPersist>();
        if (!persist) continue;
        const StoredParameter stored = storedParameter(parameters, index, false);
        const SmartPtr<IString>& storedName = stored.name;
        const int32_t flags = stored.flags;
        const SmartPtr<IUnknown>& descriptor = stored.descriptor;

        xml->BeginElement(entryName(storedName.get(), index).get(), 0, 0);
        if (flags != 0) xml->WriteElement(nameString(L"Flags").get(), 0, ISCreateHex(static_cast<uint32_t>(flags)).get(), 0);
        writeObjectElement(xml.get(), item.get(), persist.get(), mode);
        if (SmartPtr<IDataPersist> persistDescriptor = descriptor.template query<IDataPersist>()) {
            xml->BeginElement(nameString(L"ItemDescriptor").get(), 0, 0);
            writeObjectElement(xml.get(), descriptor.get(), persistDescriptor.get(), mode);
            xml->EndElement();
        }
        xml->EndElement();
    }
    return S_OK;
}

template <class Collection>
HRESULT PARAMSLoadXMLUnk(Collection& parameters, IDataStream* stream, int32_t mode, bool creatable) {
    using namespace persistence_detail;
    SmartPtr<IXMLStream> xml = queryInterface<IXMLStream>(stream);
    if (!xml) return S_OK;
    const bool rebuild = (mode & MODE_REBUILD) != 0;
    if (rebuild) parameters.RemoveAll();
    tagREFString name = {0, nullptr};
    while (xml->NextElement(&name) >= 0) {
        SmartPtr<IString> parameterName = ISCreate(name);
        SmartPtr<IUnknown> current;
        if (mode & MODE_REUSE) {
            int32_t index = -1;
            if (parameters.get_Index(parameterName.get(), &index) >= 0) parameters.get_Item(index, current.put());
        }
        SmartPtr<IXMLStream> element;
        if (xml->OpenElement(name.count, name.text, nullptr, element.put(), 1) < 0 || !element) continue;

        int32_t flags = 0;
        SmartPtr<IUnknown> descriptor;
        SmartPtr<IUnknown> value;
        tagREFString childName = {0, nullptr};
        while (element->NextElement(&childName) >= 0) {
            SmartPtr<IXMLStream> child;
            if (element->OpenElement(childName.count, childName.text, nullptr, child.put(), 1) < 0 || !child) continue;
            if (isNamed(childName, L"Flags")) {
                flags = _IS2Integer(CREFString(static_cast<IUnknown*>(child.get())), 10);
            } else if (isNamed(childName, L"ItemDescriptor")) {
                child->CreateChildObject(descriptor.put());
            } else if (!current) {
                child->CreateElementObject(childName.count, childName.text, value.put());
            } else {
                SmartPtr<IDataPersist> persist = current.query<IDataPersist>();
                if (persist && classMatches(current.get(), childName, creatable)) persist->Load(child.get(), 0);
                value = current;
            }
        }
        if (!rebuild) {
            int32_t index = -1;
            if (parameters.get_Index(parameterName.get(), &index) >= 0) {
                parameters.put_Item(index, value.get());
                parameters.put_ItemFlags(index, flags);
                parameters.put_ItemDescriptor(index, descriptor.get());
            }
        } else if (name.count > 0 && value) {
            parameters.Add(parameterName.get(), value.get(), descriptor.get(), flags);
        }
    }
    return S_OK;
}
