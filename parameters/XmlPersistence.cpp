#include "parameters/XmlPersistence.h"

#include <cwchar>

#include "runtime/CREFString.h"
#include "runtime/Values.h"

namespace {

SmartPtr<IString> nameString(const wchar_t* text) { return ISCreate(text); }

SmartPtr<IVariant> convertedText(IXMLStream* element) {
    CREFString text(static_cast<IUnknown*>(element));
    return IVCreateConvert(text);
}

bool isNamed(const tagREFString& name, const wchar_t* word) {
    const tagREFString other = {static_cast<int32_t>(std::wcslen(word)), word};
    return CREFString(name).CompareI(other, 1) == S_OK;
}

void writeObjectElement(IXMLStream* xml, IUnknown* object, IDataPersist* persist, int32_t mode) {
    if (FAILED(xml->BeginObject(object, 0, 0))) return;
    persist->Save(xml, mode);
    xml->EndElement();
}

bool classMatches(IUnknown* object, const tagREFString& elementName, bool creatable) {
    SmartPtr<IObjectInfo> info = queryInterface<IObjectInfo>(object);
    if (!info) return true;
    tagREFString className = {0, nullptr};
    if (FAILED(info->GetName(0, &className))) return false;
    const CREFString element(elementName);
    if (creatable) return SUCCEEDED(element.CompareI(className, 1));
    return element.count > 0 && className.count > 0 && SUCCEEDED(element.CompareI(className, 0));
}

}  // namespace

HRESULT PARAMSSaveXML(ParameterCollection& parameters, IDataStream* stream, int32_t mode) {
    SmartPtr<IXMLStream> xml = queryInterface<IXMLStream>(stream);
    if (!xml) return S_OK;
    for (int32_t index = 0, count = parameters.count(); index < count; ++index) {
        const StoredParameter stored = parameters.stored(index);
        const SmartPtr<IString>& name = stored.name;
        const SmartPtr<IVariant>& value = stored.value;
        const SmartPtr<IUnknown>& descriptor = stored.descriptor;
        int32_t flags = stored.flags;
        SmartPtr<IDataPersist> object = descriptor.query<IDataPersist>();
        flags &= ~PARAMETER_UNWRITTEN_XML;

        bool full = object || flags != 0;
        if (mode & MODE_COMPACT) {
            if (flags & PARAMETER_CHOICES) {
                flags &= ~PARAMETER_CHOICES;
                object = nullptr;
            } else if (flags & PARAMETER_RESULT) {
                object = nullptr;
            }
            if (flags == PARAMETER_COLOR && !object && value && value->get_Type() != 0) {
                // An integer shown as a colour is written as its colour text.
                xml->WriteElement(name.get(), 0, ISCreateColor(static_cast<uint32_t>(value->get_Long())).get(), 0);
                continue;
            }
            const int32_t kind = flags & PARAMETER_KIND_MASK;
            if (kind == PARAMETER_KIND_INTEGER || kind == PARAMETER_KIND_DECIMAL || kind == PARAMETER_KIND_TEXT ||
                flags == PARAMETER_KIND_BUTTON) {
                flags = 0;
            }
            full = object || flags != 0;
        }
        SmartPtr<IString> text = value ? ISCreate(value.get()) : nullptr;
        if (!full) {
            xml->WriteElement(name.get(), 0, text.get(), 0);
            continue;
        }
        xml->BeginElement(name.get(), 0, 0);
        xml->WriteElement(nameString(L"Value").get(), 0, text.get(), 0);
        if (flags != 0)
            xml->WriteElement(nameString(L"Flags").get(), 0, ISCreateHex(static_cast<uint32_t>(flags)).get(), 0);
        if (object) writeObjectElement(xml.get(), descriptor.get(), object.get(), mode);
        xml->EndElement();
    }
    return S_OK;
}

HRESULT PARAMSLoadXML(ParameterCollection& parameters, IDataStream* stream, int32_t mode) {
    SmartPtr<IXMLStream> xml = queryInterface<IXMLStream>(stream);
    if (!xml) return S_OK;
    const bool rebuild = (mode & MODE_REBUILD) != 0;
    ParameterBatch read;  // the rebuilt set, read whole before it replaces the declared one
    tagREFString name = {0, nullptr};
    while (SUCCEEDED(xml->NextElement(&name))) {
        SmartPtr<IXMLStream> element;
        if (FAILED(xml->OpenElement(name.count, name.text, nullptr, element.put(), 1)) || !element) continue;
        SmartPtr<IString> parameterName = ISCreate(name);
        if (rebuild) {
            // Full-form elements are not taken apart: their whole text is the value.
            if (read.add(parameterName.get(), convertedText(element.get()).get(), nullptr, 0) == E_OUTOFMEMORY) {
                return E_OUTOFMEMORY;
            }
            continue;
        }
        int32_t index = -1;
        if (FAILED(parameters.get_Index(parameterName.get(), &index))) continue;
        bool hasChildren = false;
        tagREFString childName = {0, nullptr};
        while (SUCCEEDED(element->NextElement(&childName))) {
            hasChildren = true;
            SmartPtr<IXMLStream> child;
            if (FAILED(element->OpenElement(childName.count, childName.text, nullptr, child.put(), 1)) || !child)
                continue;
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
    return rebuild ? parameters.replaceAll(read) : S_OK;
}

HRESULT PARAMSSaveXMLUnk(ParameterCollection& parameters, IDataStream* stream, int32_t mode) {
    SmartPtr<IXMLStream> xml = queryInterface<IXMLStream>(stream);
    if (!xml) return S_OK;
    for (int32_t index = 0, count = parameters.count(); index < count; ++index) {
        SmartPtr<IUnknown> item;
        if (FAILED(parameters.get_Item(index, item.put()))) continue;
        SmartPtr<IDataPersist> persist = item.query<IDataPersist>();
        if (!persist) continue;
        const StoredParameter stored = parameters.stored(index, false);
        const SmartPtr<IString>& storedName = stored.name;
        const int32_t flags = stored.flags;
        const SmartPtr<IUnknown>& descriptor = stored.descriptor;

        xml->BeginElement(ParameterCollection::entryName(storedName.get(), index).get(), 0, 0);
        if (flags != 0)
            xml->WriteElement(nameString(L"Flags").get(), 0, ISCreateHex(static_cast<uint32_t>(flags)).get(), 0);
        writeObjectElement(xml.get(), item.get(), persist.get(), mode);
        if (SmartPtr<IDataPersist> persistDescriptor = descriptor.query<IDataPersist>()) {
            xml->BeginElement(nameString(L"ItemDescriptor").get(), 0, 0);
            writeObjectElement(xml.get(), descriptor.get(), persistDescriptor.get(), mode);
            xml->EndElement();
        }
        xml->EndElement();
    }
    return S_OK;
}

HRESULT PARAMSLoadXMLUnk(ParameterCollection& parameters, IDataStream* stream, int32_t mode, bool creatable) {
    SmartPtr<IXMLStream> xml = queryInterface<IXMLStream>(stream);
    if (!xml) return S_OK;
    const bool rebuild = (mode & MODE_REBUILD) != 0;
    ParameterBatch read;  // the rebuilt set, read whole before it replaces the declared one
    tagREFString name = {0, nullptr};
    while (SUCCEEDED(xml->NextElement(&name))) {
        SmartPtr<IString> parameterName = ISCreate(name);
        SmartPtr<IUnknown> current;
        // A rebuilt set starts empty: there is no current item to reuse.
        if ((mode & MODE_REUSE) && !rebuild) {
            int32_t index = -1;
            if (SUCCEEDED(parameters.get_Index(parameterName.get(), &index))) parameters.get_Item(index, current.put());
        }
        SmartPtr<IXMLStream> element;
        if (FAILED(xml->OpenElement(name.count, name.text, nullptr, element.put(), 1)) || !element) continue;

        int32_t flags = 0;
        SmartPtr<IUnknown> descriptor;
        SmartPtr<IUnknown> value;
        tagREFString childName = {0, nullptr};
        while (SUCCEEDED(element->NextElement(&childName))) {
            SmartPtr<IXMLStream> child;
            if (FAILED(element->OpenElement(childName.count, childName.text, nullptr, child.put(), 1)) || !child)
                continue;
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
            if (SUCCEEDED(parameters.get_Index(parameterName.get(), &index))) {
                parameters.put_Item(index, value.get());
                parameters.put_ItemFlags(index, flags);
                parameters.put_ItemDescriptor(index, descriptor.get());
            }
        } else if (name.count > 0 && value) {
            if (read.add(parameterName.get(), value.get(), descriptor.get(), flags) == E_OUTOFMEMORY) {
                return E_OUTOFMEMORY;
            }
        }
    }
    return rebuild ? parameters.replaceAll(read) : S_OK;
}
