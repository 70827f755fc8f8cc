// A step's inputs and its bindable, persistable and replicable faces, on top
// of the parameter collection. Only the layout: Bind, Save, Replicate and
// Load take the slots after the collection's own, in this order, and forward
// to the StepInputs that every step class shares.
#pragma once

#include <cstdint>

#include "parameters/IParametersImpl.h"
#include "parameters/StepInputs.h"
#include "runtime/Interfaces.h"
#include "runtime/ObjectBase.h"

template <class T, class I>
class InputParametersImpl : public IParametersImpl<T, I>,
                            public IBindableObject,
                            public IDataPersist,
                            public IReplicableObject {
public:
    HRESULT Bind(INamedCollection* collection, IUnknown* /*reserved*/) override {
        return m_StepInputs.bind(this->m_Parameters, collection);
    }
    HRESULT Save(IDataStream* stream, int32_t mode) override {
        return m_StepInputs.save(this->m_Parameters, stream, mode);
    }
    HRESULT Replicate(IUnknown** copy) override {
        return m_StepInputs.replicate(this->m_Parameters, &CObject<T>::_CreateInstance, copy);
    }
    HRESULT Load(IDataStream* stream, int32_t mode) override {
        return m_StepInputs.load(this->m_Parameters, stream, mode);
    }

    // The host's input list, or null when the host could not supply one.
    IUnknown* inputList() const { return m_StepInputs.list(); }
    // The object bound to the input at index, or null.
    SmartPtr<IUnknown> inputObject(int32_t index) const { return m_StepInputs.inputObject(index); }
    // The input record at index, or null.
    SmartPtr<IInputParameter> inputRecord(int32_t index) const { return m_StepInputs.inputRecord(index); }

protected:
    InputParametersImpl() = default;
    ~InputParametersImpl() = default;

    StepInputs m_StepInputs;
};
