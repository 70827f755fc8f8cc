// The shape every step class shares and the toolkit its Execute is written
// with: its bases in the host's order, the one IUnknown that all of its
// interfaces forward to, its tables declared and its pages listed once, and
// typed readers and writers of its parameters.
#pragma once

#include <cstdint>

#include "execution/PropertyPages.h"
#include "execution/StepExecution.h"
#include "parameters/Declarations.h"
#include "parameters/InputParametersImpl.h"
#include "runtime/ComponentAccess.h"
#include "runtime/ObjectBase.h"
#include "runtime/ObjectResolve.h"
#include "runtime/Values.h"

// The interfaces every step answers besides IUnknown, in the order of the
// host's table, with a class's own interfaces appended. The input list
// answers IInputParameters for the step.
template <class... Extra>
using StepInterfaces = InterfaceList<IObjectInfo, IUIPropertyPageSpecify, IStep, Delegated<IInputParameters>,
                                     IDataPersist, IParameters, IBindableObject, IReplicableObject, Extra...>;

// A step's declaration, as data: its inputs and parameters in display order,
// its property pages, and how it is stored.
struct StepTables {
    DeclarationTable<InputDeclaration> inputs;
    DeclarationTable<ParameterDeclaration> parameters;
    TableView<PageDeclaration> pages;
    int32_t splitLayout = 0;        // "Parameters" and "Inputs" sub-folders, rebuilt on loading
    bool pagesNameTheStep = false;  // each page entry's descriptor is the registered name
};

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
    uint32_t AddRef() override { return this->addRef(); }
    uint32_t Release() override { return this->release(); }

    // Declares the inputs, then the parameters, from the class's tables.
    HRESULT FinalConstruct() override {
        this->m_StepInputs.setSplitLayout(T::kTables.splitLayout);
        return this->m_StepInputs.declare(this->m_Parameters, T::kTables.inputs, T::kTables.parameters);
    }

    HRESULT GetPages(int32_t, INamedCollection** pages, IUnknown**) override {
        return PAGESBuild(T::kTables.pages,
                          T::kTables.pagesNameTheStep ? IObjectInfoImpl<T>::m_ObjectName.text : nullptr, pages);
    }

    // No Execute here: each step class writes its own (callExecute checks).

    // Who answers IInputParameters for the step.
    IUnknown* queryDelegate() const { return this->inputList(); }

protected:
    StepBase() = default;
    ~StepBase() = default;

    // --- The toolkit ----------------------------------------------------------
    // The parameter at index, or the default when it cannot be read.
    int32_t readInteger(int32_t index, int32_t defaultValue = 0) {
        return this->m_Parameters.readInteger(index, defaultValue);
    }
    double readDouble(int32_t index, double defaultValue = 0.0) {
        return this->m_Parameters.readDouble(index, defaultValue);
    }
    SmartPtr<IString> readText(int32_t index, const wchar_t* defaultText = L"") {
        return this->m_Parameters.readText(index, defaultText);
    }
    // The parameter's value as it is (a number or a text), or null when it
    // cannot be read.
    SmartPtr<IVariant> readVariant(int32_t index) {
        SmartPtr<IVariant> value;
        if (FAILED(this->m_Parameters.get_ItemVariant(index, value.put()))) value = nullptr;
        return value;
    }
    // The string the parameter holds, or null when it holds a number, an
    // object or nothing: unlike readText, no other value becomes text.
    SmartPtr<IString> readString(int32_t index) {
        SmartPtr<IVariant> value;
        SmartPtr<IString> string;
        if (SUCCEEDED(this->m_Parameters.get_ItemVariant(index, value.put())) && value && value->IsString()) {
            value->get_String(string.put());
        }
        return string;
    }
    // The parameter's stored value object as get_Item gives it: the string
    // or object it holds, else the variant itself.
    SmartPtr<IUnknown> storedValue(int32_t index) {
        SmartPtr<IUnknown> value;
        this->m_Parameters.get_Item(index, value.put());
        return value;
    }
    // A result written into the parameter at index.
    HRESULT writeInteger(int32_t index, int32_t value) { return this->m_Parameters.writeInteger(index, value); }
    HRESULT writeDouble(int32_t index, double value) { return this->m_Parameters.writeDouble(index, value); }
    HRESULT writeText(int32_t index, IString* text) { return this->m_Parameters.writeText(index, text); }
    HRESULT writeText(int32_t index, const wchar_t* text) { return this->m_Parameters.writeText(index, text); }
    HRESULT writeObject(int32_t index, IUnknown* object) { return this->m_Parameters.writeObject(index, object); }

    // The object bound to an input, resolved to the wanted interface
    // directly, through a moniker or through a host window.
    template <class I>
    SmartPtr<I> resolvedInput(int32_t index) {
        return OBJECTResolve<I>(this->inputObject(index).get());
    }

    // The step's identity (its IUnknown), without a reference: what it
    // registers as the sink of a window's events.
    IUnknown* identity() { return IUnknownImpl<T>::primary(static_cast<T*>(this)); }
    HRESULT adviseEvents(IUnknown* source, int32_t kind) { return OBJECTAdvise(source, identity(), kind); }

    // Holds the step's collection lock for a scope.
    CollectionLockHolder lockCollection() { return CollectionLockHolder(static_cast<IParameters*>(this)); }
};
