// A step's inputs (the host's input list) and its bindable, persistable and
// replicable faces, on top of the parameter collection.
#pragma once

#include <cstdint>

#include "parameters/IParametersImpl.h"
#include "runtime/ComponentAccess.h"
#include "runtime/Interfaces.h"

template <class T, class I>
class InputParametersImpl : public IParametersImpl<T, I>,
                            public IBindableObject,
                            public IDataPersist,
                            public IReplicableObject {
public:
    // Binding, persistence and replication are not built yet: each says so.
    HRESULT Bind(INamedCollection*, IUnknown*) override { return E_NOTIMPL; }
    HRESULT Save(IDataStream*, int32_t) override { return E_NOTIMPL; }
    HRESULT Replicate(IUnknown** copy) override {
        if (copy) *copy = nullptr;
        return E_NOTIMPL;
    }
    HRESULT Load(IDataStream*, int32_t) override { return E_NOTIMPL; }

    // The host's input list, or null when the host could not supply one.
    IUnknown* inputList() const { return m_InputList; }

protected:
    InputParametersImpl() : m_InputList(createInputList()) {}
    ~InputParametersImpl() {
        IUnknown* inputs = m_InputList;
        m_InputList = nullptr;
        if (inputs) inputs->Release();
    }

    IUnknown* m_InputList;
    int32_t m_SplitLayout = 0;

private:
    static IUnknown* createInputList() {
        SmartPtr<IInputParameters> inputs = CreateObject<IInputParameters>(L"InputParameters");
        return inputs.detach();
    }
};
