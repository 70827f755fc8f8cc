#include "parameters/Bindings.h"

#include "runtime/SmartPtr.h"

namespace {

void bindMoniker(IUnknown* binding, INamedCollection* collection) {
    SmartPtr<IInputParameter> input = queryInterface<IInputParameter>(binding);
    if (!input) return;
    SmartPtr<IUnknown> bound;
    if (FAILED(input->get_Object(bound.put()))) return;
    if (SmartPtr<ICollectionMoniker> moniker = bound.query<ICollectionMoniker>()) {
        moniker->BindToCollection(collection, 0);
    }
}

}  // namespace

HRESULT ParameterBindInputs(IUnknown* inputs, IUnknown* collection) {
    SmartPtr<IInputParameters> list = queryInterface<IInputParameters>(inputs);
    if (!list) return S_OK;
    SmartPtr<INamedCollection> named = queryInterface<INamedCollection>(collection);
    int32_t count = 0;
    list->get_Count(&count);
    for (int32_t index = 0; index < count; ++index) {
        SmartPtr<IUnknown> item;
        if (FAILED(list->get_Item(index, item.put()))) continue;
        bindMoniker(item.get(), named.get());
    }
    return S_OK;
}

HRESULT ParameterBindParameterDescriptors(IUnknown* parameters, IUnknown* collection) {
    SmartPtr<IParameters> list = queryInterface<IParameters>(parameters);
    if (!list) return S_OK;
    SmartPtr<INamedCollection> named = queryInterface<INamedCollection>(collection);
    for (int32_t index = 0;; ++index) {
        SmartPtr<IUnknown> descriptor;
        if (FAILED(list->Iterate(index, nullptr, nullptr, descriptor.put(), nullptr))) break;
        bindMoniker(descriptor.get(), named.get());
    }
    return S_OK;
}
