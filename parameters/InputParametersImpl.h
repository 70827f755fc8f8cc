// A step's inputs (the host's input list) and its bindable, persistable and
// replicable faces, on top of the parameter collection.
#pragma once

#include <cstdint>

#include "parameters/Declarations.h"
#include "parameters/IParametersImpl.h"
#include "runtime/ComponentAccess.h"
#include "runtime/Interfaces.h"
#include "runtime/Values.h"

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

    // The object bound to the input at index, or null (unbound, no input list).
    SmartPtr<IUnknown> InputObject(int32_t index) const {
        SmartPtr<IUnknown> bound;
        if (SmartPtr<IInputParameters> inputs = queryInterface<IInputParameters>(m_InputList)) {
            inputs->get_InputObject(index, bound.put());
        }
        return bound;
    }

protected:
    InputParametersImpl() : m_InputList(createInputList()) {}
    ~InputParametersImpl() {
        IUnknown* inputs = m_InputList;
        m_InputList = nullptr;
        if (inputs) inputs->Release();
    }

    // Declares the inputs on the input list, then the parameters, in display
    // order. Results of the host calls are not checked: a step is made even
    // when its host cannot supply every string or variant.
    HRESULT Declare(DeclarationTable<InputDeclaration> inputs, DeclarationTable<ParameterDeclaration> parameters) {
        if (SmartPtr<IInputParameters> list = queryInterface<IInputParameters>(m_InputList)) {
            for (const InputDeclaration& input : inputs) {
                SmartPtr<IString> name = ISCreate(input.name);
                list->AddInput(name.get(), *input.iid, input.flags);
            }
        }
        for (const ParameterDeclaration& parameter : parameters) {
            SmartPtr<IString> name = ISCreate(parameter.name);
            SmartPtr<IUnknown> value;
            if (parameter.value.isText) {
                value = ISCreate(parameter.value.text);
            } else {
                value = IVCreate(parameter.value.integer);
            }
            SmartPtr<IString> choices = parameter.choices ? ISCreate(parameter.choices) : nullptr;
            this->CollectionLock();
            this->AddNOLOCK(name.get(), value.get(), choices.get(), parameter.flags);
            this->CollectionUnlock();
        }
        return S_OK;
    }

    IUnknown* m_InputList;
    int32_t m_SplitLayout = 0;

private:
    static IUnknown* createInputList() {
        SmartPtr<IInputParameters> inputs = CreateObject<IInputParameters>(L"InputParameters");
        return inputs.detach();
    }
};
