#include "execution/PropertyPages.h"

#include "runtime/CREFString.h"
#include "runtime/Values.h"

HRESULT PAGESBuild(TableView<PageDeclaration> pages, const wchar_t* descriptor, INamedCollection** out) {
    if (!out) return E_POINTER;
    SmartPtr<ISuperCollection> collection = CREFString::CreateCollection();
    if (!collection) return E_FAIL;
    for (const PageDeclaration& page : pages) {
        SmartPtr<IString> name;
        if (page.named) {
            name = CREFString::CreateString();
            if (name) name->put_Text(0, L"");
        }
        SmartPtr<IString> identifier = ISCreate(page.identifier);
        SmartPtr<IString> pageDescriptor = descriptor ? ISCreate(descriptor) : nullptr;
        collection->Add(name.get(), identifier.get(), pageDescriptor.get(), 0);
    }
    *out = collection.detach();
    return S_OK;
}
