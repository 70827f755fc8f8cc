// A step's inputs (the host's input list) and what the step does with them
// and its parameters together: declaring both, binding, saving, loading and
// replicating. Once for all step classes; InputParametersImpl forwards.
#pragma once

#include <cstdint>

#include "parameters/Declarations.h"
#include "parameters/ParameterCollection.h"
#include "runtime/Interfaces.h"
#include "runtime/SmartPtr.h"

class StepInputs {
public:
    // Asks the host for the step's input list ("InputParameters"); a host that
    // cannot supply one leaves the step without inputs.
    StepInputs();
    ~StepInputs();
    StepInputs(const StepInputs&) = delete;
    StepInputs& operator=(const StepInputs&) = delete;

    // The host's input list, or null; no reference is added.
    IUnknown* list() const { return m_InputList; }
    // Replaces the input list (a step that loads its own), renewing the
    // interface asked for once with it.
    void replaceList(IUnknown* list);

    // 1 selects the layout with "Parameters" and "Inputs" sub-folders and a
    // parameter set rebuilt on loading.
    int32_t splitLayout() const { return m_SplitLayout; }
    void setSplitLayout(int32_t split) { m_SplitLayout = split != 0 ? 1 : 0; }

    // The object bound to the input at index, or null (unbound, no input list).
    SmartPtr<IUnknown> inputObject(int32_t index) const;
    // The input record at index (its binding: bound object, item name and
    // index), or null (no such input, no input list, not a record).
    SmartPtr<IInputParameter> inputRecord(int32_t index) const;

    // Declares the inputs on the input list, then the parameters, in display
    // order. Results of the host calls are not checked: a step is made even
    // when its host cannot supply every string or variant. E_OUTOFMEMORY when
    // a parameter's record cannot be made: the step is then not made at all.
    HRESULT declare(ParameterCollection& parameters, DeclarationTable<InputDeclaration> inputs,
                    DeclarationTable<ParameterDeclaration> declared);

    // Attaches the monikers of the inputs and of the bound parameters to the
    // program's collection. Always 0.
    HRESULT bind(ParameterCollection& parameters, INamedCollection* collection);

    // XML: the parameters in compact form. Folder stream, plain layout: the
    // parameters in compact form and the input list beside them; split
    // layout: "Parameters" in full form, then "Inputs". Without
    // `withParameters` the folder stream gets the input list alone. Always 0.
    HRESULT save(ParameterCollection& parameters, IDataStream* stream, int32_t mode, bool withParameters = true);
    // E_NOTIMPL for a null stream or one that is neither XML nor a folder;
    // E_OUTOFMEMORY, with parameters and inputs as they were, when a rebuilt
    // parameter set finds no memory.
    HRESULT load(ParameterCollection& parameters, IDataStream* stream, int32_t mode);
    // The plain layout alone, into a folder stream: parameters in compact
    // form, the input list beside them.
    void savePlain(ParameterCollection& parameters, IDataStream* stream, int32_t mode);
    HRESULT loadPlain(ParameterCollection& parameters, IDataStream* stream, int32_t mode);

    // A new step made by `create` with copies of the values, new bindings for
    // bound parameters and the inputs bound to the same objects. The copy is
    // null when the step cannot be made, with 0, or, when the module runs
    // out of memory making it whole, with E_OUTOFMEMORY.
    HRESULT replicate(ParameterCollection& parameters, CREATEFUNCTION create, IUnknown** copy);

    // The input list saves and loads its own bindings.
    void saveInputs(IDataStream* stream, int32_t mode);
    void loadInputs(IDataStream* stream, int32_t mode);

private:
    void replicateInputs(IInputParameters* target);

    IUnknown* m_InputList;
    int32_t m_SplitLayout = 0;
    // The input list's IInputParameters, asked for once: steps read their
    // inputs on every run.
    SmartPtr<IInputParameters> m_Inputs;
};
