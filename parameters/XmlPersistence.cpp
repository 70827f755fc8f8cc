#include "parameters/XmlPersistence.h"

#include <cwchar>

namespace persistence_detail {

SmartPtr<IVariant> convertedText(IXMLStream* element) {
    CREFString text(static_cast<IUnknown*>(element));
    return IVCreateConvert(text);
}

bool isNamed(const tagREFString& name, const wchar_t* word) {
    const tagREFString other = {static_cast<int32_t>(std::wcslen(word)), word};
    return CREFString(name).CompareI(other, 1) == S_OK;
}

void writeObjectElement(IXMLStream* xml, IUnknown* object, IDataPersist* persist, int32_t mode) {
    if (xml->BeginObject(object, 0, 0) < 0) return;
    persist->Save(xml, mode);
    xml->EndElement();
}

bool classMatches(IUnknown* object, const tagREFString& elementName, bool creatable) {
    SmartPtr<IObjectInfo> info = queryInterface<IObjectInfo>(object);
    if (!info) return true;
    tagREFString className = {0, nullptr};
    if (info->GetName(0, &className) < 0) return false;
    const CREFString element(elementName);
    if (creatable) return SUCCEEDED(element.CompareI(className, 1));
    return element.count > 0 && className.count > 0 && SUCCEEDED(element.CompareI(className, 0));
}

}  // namespace persistence_detail
