// The shape every step class shares: its bases in the host's order and the
// one IUnknown that all of its interfaces forward to.
#pragma once

#include "execution/StepExecution.h"
#include "parameters/InputParametersImpl.h"
#include "runtime/ObjectBase.h"

// The interfaces every step answers besides IUnknown, in the order of the
// host's table, with a class's own interfaces appended.
template <class... Extra>
using StepInterfaces = InterfaceList<IObjectInfo, IUIPropertyPageSpecify, IStep, IInputParameters, IDataPersist,
                                     IParameters, IBindableObject, IReplicableObject, Extra...>;

template <class T, class ParametersInterface, template <class, class, class> class Execution, class... Extra>
class StepBase : public CObject<T>,
                 public IObjectInfoImpl<T>,
                 public InputParametersImpl<T, ParametersInterface>,
                 public Execution<T, IStep, CTimer>,
                 public IUIPropertyPageSpecify,
                 public Extra... {
public:
    HRESULT QueryInterface(const IID& iid, void** out) override {
        return IUnknownImpl<T>::queryInterface(static_cast<T*>(this), iid, out);
    }
    uint32_t AddRef() override { return IUnknownImpl<T>::addRef(this); }
    uint32_t Release() override { return IUnknownImpl<T>::release(static_cast<T*>(this)); }

    // The step's identity (its IUnknown), without a reference.
    IUnknown* identityOfStep() { return IUnknownImpl<T>::primary(static_cast<T*>(this)); }

    // A step whose work is not built yet says so.
    HRESULT Execute(void* /*context*/) { return E_NOTIMPL; }

protected:
    StepBase() = default;
    ~StepBase() = default;
};
