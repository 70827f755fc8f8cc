// A step's inputs (the host's input list) and its bindable, persistable and
// replicable faces, on top of the parameter collection.
#pragma once

#include <cstdint>

#include "parameters/Bindings.h"
#include "parameters/Declarations.h"
#include "parameters/FolderPersistence.h"
#include "parameters/IParametersImpl.h"
#include "parameters/XmlPersistence.h"
#include "runtime/ComponentAccess.h"
#include "runtime/ObjectBase.h"
#include "runtime/Interfaces.h"
#include "runtime/Values.h"

template <class T, class I>
class InputParametersImpl : public IParametersImpl<T, I>,
                            public IBindableObject,
                            public IDataPersist,
                            public IReplicableObject {
public:
    // Attaches the monikers of the inputs and of the bound parameters to the
    // program's collection. Always 0.
    HRESULT Bind(INamedCollection* collection, IUnknown* /*reserved*/) override {
        ParameterBindInputs(m_InputList, collection);
        ParameterBindParameterDescriptors(static_cast<IParameters*>(this), collection);
        return S_OK;
    }

    // XML: the parameters in compact form. Folder stream, plain layout: the
    // parameters in compact form and the input list beside them; split
    // layout: "Parameters" in full form, then "Inputs". Always 0.
    HRESULT Save(IDataStream* stream, int32_t mode) override {
        if (!stream) return S_OK;
        if (queryInterface<IXMLStream>(stream)) {
            this->Params_SaveXML(stream, MODE_COMPACT);
            return S_OK;
        }
        SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
        if (!folder) return S_OK;
        if (m_SplitLayout == 0) {
            this->Params_SaveFolderStream(stream, mode | MODE_COMPACT);
            SaveInputs(stream, mode | MODE_COMPACT);
            return S_OK;
        }
        SmartPtr<IFolderStream> parameters;
        folder->CreateFolder(ISCreate(L"Parameters").get(), 0, parameters.put());
        if (parameters) this->Params_SaveFolderStream(parameters.get(), mode);
        SmartPtr<IFolderStream> inputs;
        folder->CreateFolder(ISCreate(L"Inputs").get(), 0, inputs.put());
        if (inputs) SaveInputs(inputs.get(), mode | MODE_COMPACT);
        return S_OK;
    }

    // A new step of the same class with copies of the values, new bindings
    // for bound parameters and the inputs bound to the same objects. The copy
    // is null when the step cannot be made; 0 either way.
    HRESULT Replicate(IUnknown** copy) override {
        if (!copy) return E_POINTER;
        *copy = nullptr;
        SmartPtr<IUnknown> replica;
        if (CObject<T>::_CreateInstance(nullptr, &IID_IUnknown, replica.put_void()) != S_OK || !replica) return S_OK;
        if (SmartPtr<IParameters> parameters = replica.query<IParameters>()) ReplicateParameters(parameters.get());
        ReplicateInputs(replica.query<IInputParameters>().get());
        *copy = replica.detach();
        return S_OK;
    }

    // 0x80004001 for a null stream or one that is neither XML nor a folder.
    HRESULT Load(IDataStream* stream, int32_t mode) override {
        if (!stream) return E_NOTIMPL;
        if (queryInterface<IXMLStream>(stream)) {
            this->Params_LoadXML(stream, mode | (m_SplitLayout ? MODE_REBUILD : 0), 0);
            return S_OK;
        }
        SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
        if (!folder) return E_NOTIMPL;
        if (m_SplitLayout == 0) {
            this->Params_LoadFolderStream(stream, mode | MODE_COMPACT);
            LoadInputs(stream, mode);
            return S_OK;
        }
        // A missing sub-folder is passed over.
        if (SmartPtr<IDataStream> parameters = SubFolder(stream, L"Parameters")) {
            this->Params_LoadFolderStream(parameters.get(), mode | MODE_REBUILD);
        }
        if (SmartPtr<IDataStream> inputs = SubFolder(stream, L"Inputs")) LoadInputs(inputs.get(), mode);
        return S_OK;
    }

    // The host's input list, or null when the host could not supply one.
    IUnknown* inputList() const { return m_InputList; }

    // The object bound to the input at index, or null (unbound, no input list).
    SmartPtr<IUnknown> InputObject(int32_t index) const {
        SmartPtr<IUnknown> bound;
        if (m_Inputs) m_Inputs->get_InputObject(index, bound.put());
        return bound;
    }

protected:
    InputParametersImpl() : m_InputList(createInputList()), m_Inputs(queryInterface<IInputParameters>(m_InputList)) {}
    ~InputParametersImpl() {
        m_Inputs = nullptr;
        IUnknown* inputs = m_InputList;
        m_InputList = nullptr;
        if (inputs) inputs->Release();
    }

    // Declares the inputs on the input list, then the parameters, in display
    // order. Results of the host calls are not checked: a step is made even
    // when its host cannot supply every string or variant.
    HRESULT Declare(DeclarationTable<InputDeclaration> inputs, DeclarationTable<ParameterDeclaration> parameters) {
        if (m_Inputs) {
            for (const InputDeclaration& input : inputs) {
                SmartPtr<IString> name = ISCreate(input.name);
                m_Inputs->AddInput(name.get(), *input.iid, input.flags);
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

    // The input list saves and loads its own bindings.
    void SaveInputs(IDataStream* stream, int32_t mode) {
        if (SmartPtr<IDataPersist> inputs = queryInterface<IDataPersist>(m_InputList)) inputs->Save(stream, mode);
    }
    void LoadInputs(IDataStream* stream, int32_t mode) {
        if (SmartPtr<IDataPersist> inputs = queryInterface<IDataPersist>(m_InputList)) inputs->Load(stream, mode);
    }

    // The entry of that name in a folder stream, as a stream, or null.
    static SmartPtr<IDataStream> SubFolder(IDataStream* stream, const wchar_t* name) {
        SmartPtr<INamedCollection> entries = queryInterface<INamedCollection>(stream);
        if (!entries) return nullptr;
        int32_t index = -1;
        if (entries->get_Index(ISCreate(name).get(), &index) < 0 || index < 0) return nullptr;
        SmartPtr<IUnknown> entry;
        if (entries->get_Item(index, entry.put()) < 0) return nullptr;
        return entry.query<IDataStream>();
    }

    IUnknown* m_InputList;
    int32_t m_SplitLayout = 0;
    // The input list's IInputParameters, asked for once: steps read their
    // inputs on every run. Whatever replaces m_InputList must renew it.
    SmartPtr<IInputParameters> m_Inputs;

private:
    void ReplicateParameters(IParameters* target) {
        int32_t count = 0;
        this->get_Count(&count);
        for (int32_t index = 0; index < count; ++index) {
            SmartPtr<IVariant> value;
            this->get_ItemVariant(index, value.put());
            SmartPtr<IUnknown> descriptor;
            this->get_ItemDescriptor(index, descriptor.put());
            if (SmartPtr<IInputParameter> binding = descriptor.query<IInputParameter>()) {
                // The copy gets a binding of its own; without one the source's is shared.
                if (SmartPtr<IInputParameter> own = CopyBinding(binding.get())) descriptor = own;
            }
            SmartPtr<IVariant> copied = CREFString::CreateVariant();
            if (copied) copied->put_Value(value.get());
            if (copied && target->put_Item(index, copied.get()) >= 0) {
                target->put_ItemDescriptor(index, descriptor.get());
                continue;
            }
            // The copy has fewer parameters: a user-defined set is appended.
            if (SmartPtr<IParametersCreatable> creatable = queryInterface<IParametersCreatable>(target)) {
                SmartPtr<IString> name;
                this->get_ItemNameNOLOCK(index, name.put());
                int32_t flags = 0;
                this->get_ItemFlags(index, &flags);
                creatable->Add(name.get(), value.get(), descriptor.get(), flags);
            }
        }
    }

    static SmartPtr<IInputParameter> CopyBinding(IInputParameter* source) {
        SmartPtr<IInputParameter> copy = CreateObject<IInputParameter>(L"InputParameter");
        if (!copy) return nullptr;
        CopyBoundObject(source, copy.get());
        IID required = IID_NULL;
        if (source->get_IID(&required) >= 0) copy->put_IID(required);
        return copy;
    }

    // The bound object, item index and item name (not the required interface).
    static void CopyBoundObject(IInputParameter* source, IInputParameter* target) {
        SmartPtr<IString> itemName;
        source->get_ItemName(itemName.put());
        target->put_ItemName(itemName.get());
        SmartPtr<IUnknown> object;
        source->get_Object(object.put());
        target->put_Object(object.get());
        int32_t itemIndex = -1;
        if (source->get_ItemIndex(&itemIndex) >= 0) target->put_ItemIndex(itemIndex);
    }

    // Inputs are matched by position; each side must be a binding.
    void ReplicateInputs(IInputParameters* target) {
        IInputParameters* source = m_Inputs.get();
        if (!source || !target) return;
        int32_t count = 0;
        source->get_Count(&count);
        for (int32_t index = 0; index < count; ++index) {
            SmartPtr<IUnknown> from;
            SmartPtr<IUnknown> to;
            if (source->get_Item(index, from.put()) < 0 || target->get_Item(index, to.put()) < 0) continue;
            SmartPtr<IInputParameter> sourceBinding = from.query<IInputParameter>();
            SmartPtr<IInputParameter> targetBinding = to.query<IInputParameter>();
            if (sourceBinding && targetBinding) CopyBoundObject(sourceBinding.get(), targetBinding.get());
        }
    }

    static IUnknown* createInputList() {
        SmartPtr<IInputParameters> inputs = CreateObject<IInputParameters>(L"InputParameters");
        return inputs.detach();
    }
};
