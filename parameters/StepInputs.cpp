#include "parameters/StepInputs.h"

#include "parameters/Bindings.h"
#include "parameters/FolderPersistence.h"
#include "parameters/XmlPersistence.h"
#include "runtime/CREFString.h"
#include "runtime/ComponentAccess.h"
#include "runtime/Values.h"

namespace {

// The entry of that name in a folder stream, as a stream, or null.
SmartPtr<IDataStream> subFolder(IDataStream* stream, const wchar_t* name) {
    SmartPtr<INamedCollection> entries = queryInterface<INamedCollection>(stream);
    if (!entries) return nullptr;
    int32_t index = -1;
    if (FAILED(entries->get_Index(ISCreate(name).get(), &index)) || index < 0) return nullptr;
    SmartPtr<IUnknown> entry;
    if (FAILED(entries->get_Item(index, entry.put()))) return nullptr;
    return entry.query<IDataStream>();
}

SmartPtr<IFolderStream> newFolder(IFolderStream* folder, const wchar_t* name) {
    SmartPtr<IFolderStream> created;
    folder->CreateFolder(ISCreate(name).get(), 0, created.put());
    return created;
}

// The bound object, item index and item name (not the required interface).
void copyBoundObject(IInputParameter* source, IInputParameter* target) {
    SmartPtr<IString> itemName;
    source->get_ItemName(itemName.put());
    target->put_ItemName(itemName.get());
    SmartPtr<IUnknown> object;
    source->get_Object(object.put());
    target->put_Object(object.get());
    int32_t itemIndex = -1;
    if (SUCCEEDED(source->get_ItemIndex(&itemIndex))) target->put_ItemIndex(itemIndex);
}

SmartPtr<IInputParameter> copyBinding(IInputParameter* source) {
    SmartPtr<IInputParameter> copy = CreateObject<IInputParameter>(L"InputParameter");
    if (!copy) return nullptr;
    copyBoundObject(source, copy.get());
    IID required = IID_NULL;
    if (SUCCEEDED(source->get_IID(&required))) copy->put_IID(required);
    return copy;
}

// E_OUTOFMEMORY when a parameter the copy must add finds no memory.
HRESULT replicateParameters(ParameterCollection& source, IParameters* target) {
    for (int32_t index = 0, count = source.count(); index < count; ++index) {
        SmartPtr<IVariant> value;
        source.get_ItemVariant(index, value.put());
        SmartPtr<IUnknown> descriptor;
        source.get_ItemDescriptor(index, descriptor.put());
        if (SmartPtr<IInputParameter> binding = descriptor.query<IInputParameter>()) {
            // The copy gets a binding of its own; without one the source's is shared.
            if (SmartPtr<IInputParameter> own = copyBinding(binding.get())) descriptor = own;
        }
        SmartPtr<IVariant> copied = CREFString::CreateVariant();
        if (copied) copied->put_Value(value.get());
        if (copied && SUCCEEDED(target->put_Item(index, copied.get()))) {
            target->put_ItemDescriptor(index, descriptor.get());
            continue;
        }
        // The copy has fewer parameters: a user-defined set is appended.
        if (SmartPtr<IParametersCreatable> creatable = queryInterface<IParametersCreatable>(target)) {
            SmartPtr<IString> name;
            source.get_ItemNameNOLOCK(index, name.put());
            int32_t flags = 0;
            source.get_ItemFlags(index, &flags);
            if (creatable->Add(name.get(), value.get(), descriptor.get(), flags) == E_OUTOFMEMORY) return E_OUTOFMEMORY;
        }
    }
    return S_OK;
}

}  // namespace

StepInputs::StepInputs()
    : m_InputList(CreateObject<IInputParameters>(L"InputParameters").detach()),
      m_Inputs(queryInterface<IInputParameters>(m_InputList)) {}

StepInputs::~StepInputs() {
    m_Inputs = nullptr;
    IUnknown* inputs = m_InputList;
    m_InputList = nullptr;
    if (inputs) inputs->Release();
}

void StepInputs::replaceList(IUnknown* list) {
    if (list == m_InputList) return;
    if (list) list->AddRef();
    IUnknown* old = m_InputList;
    m_InputList = list;
    m_Inputs = queryInterface<IInputParameters>(list);
    if (old) old->Release();
}

SmartPtr<IUnknown> StepInputs::inputObject(int32_t index) const {
    SmartPtr<IUnknown> bound;
    if (m_Inputs) m_Inputs->get_InputObject(index, bound.put());
    return bound;
}

SmartPtr<IInputParameter> StepInputs::inputRecord(int32_t index) const {
    SmartPtr<IUnknown> item;
    if (m_Inputs) m_Inputs->get_Item(index, item.put());
    return item.query<IInputParameter>();
}

HRESULT StepInputs::declare(ParameterCollection& parameters, DeclarationTable<InputDeclaration> inputs,
                            DeclarationTable<ParameterDeclaration> declared) {
    if (m_Inputs) {
        for (const InputDeclaration& input : inputs) {
            SmartPtr<IString> name = ISCreate(input.name);
            m_Inputs->AddInput(name.get(), *input.iid, input.flags);
        }
    }
    for (const ParameterDeclaration& parameter : declared) {
        SmartPtr<IString> name = ISCreate(parameter.name);
        SmartPtr<IUnknown> value;
        if (parameter.value.isText) {
            value = ISCreate(parameter.value.text);
        } else {
            value = IVCreate(parameter.value.integer);
        }
        SmartPtr<IString> choices = parameter.choices ? ISCreate(parameter.choices) : nullptr;
        CollectionLockHolder lock(parameters.face());
        // Only a record the module cannot make fails the step's creation: a
        // host that makes no value still gets a step, as it always did.
        if (parameters.AddNOLOCK(name.get(), value.get(), choices.get(), parameter.flags) == E_OUTOFMEMORY) {
            return E_OUTOFMEMORY;
        }
    }
    return S_OK;
}

HRESULT StepInputs::bind(ParameterCollection& parameters, INamedCollection* collection) {
    ParameterBindInputs(m_InputList, collection);
    ParameterBindParameterDescriptors(parameters.face(), collection);
    return S_OK;
}

HRESULT StepInputs::save(ParameterCollection& parameters, IDataStream* stream, int32_t mode, bool withParameters) {
    if (!stream) return S_OK;
    if (queryInterface<IXMLStream>(stream)) {
        PARAMSSaveXML(parameters, stream, MODE_COMPACT);
        return S_OK;
    }
    SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
    if (!folder) return S_OK;
    if (m_SplitLayout == 0) {
        if (withParameters) PARAMSSaveFolderStream(parameters, stream, mode | MODE_COMPACT);
        saveInputs(stream, mode | MODE_COMPACT);
        return S_OK;
    }
    if (withParameters) {
        if (SmartPtr<IFolderStream> folderOfParameters = newFolder(folder.get(), L"Parameters")) {
            PARAMSSaveFolderStream(parameters, folderOfParameters.get(), mode);
        }
    }
    if (SmartPtr<IFolderStream> inputs = newFolder(folder.get(), L"Inputs"))
        saveInputs(inputs.get(), mode | MODE_COMPACT);
    return S_OK;
}

HRESULT StepInputs::load(ParameterCollection& parameters, IDataStream* stream, int32_t mode) {
    if (!stream) return E_NOTIMPL;
    if (queryInterface<IXMLStream>(stream)) {
        return PARAMSLoadXML(parameters, stream, mode | (m_SplitLayout ? MODE_REBUILD : 0));
    }
    if (!queryInterface<IFolderStream>(stream)) return E_NOTIMPL;
    if (m_SplitLayout == 0) return loadPlain(parameters, stream, mode);
    // A missing sub-folder is passed over. Parameters that cannot be read
    // for want of memory leave the inputs as they were too.
    if (SmartPtr<IDataStream> folderOfParameters = subFolder(stream, L"Parameters")) {
        const HRESULT loaded = PARAMSLoadFolderStream(parameters, folderOfParameters.get(), mode | MODE_REBUILD);
        if (FAILED(loaded)) return loaded;
    }
    if (SmartPtr<IDataStream> inputs = subFolder(stream, L"Inputs")) loadInputs(inputs.get(), mode);
    return S_OK;
}

void StepInputs::savePlain(ParameterCollection& parameters, IDataStream* stream, int32_t mode) {
    PARAMSSaveFolderStream(parameters, stream, mode | MODE_COMPACT);
    saveInputs(stream, mode | MODE_COMPACT);
}

HRESULT StepInputs::loadPlain(ParameterCollection& parameters, IDataStream* stream, int32_t mode) {
    const HRESULT loaded = PARAMSLoadFolderStream(parameters, stream, mode | MODE_COMPACT);
    if (FAILED(loaded)) return loaded;
    loadInputs(stream, mode);
    return S_OK;
}

HRESULT StepInputs::replicate(ParameterCollection& parameters, CREATEFUNCTION create, IUnknown** copy) {
    if (!copy) return E_POINTER;
    *copy = nullptr;
    SmartPtr<IUnknown> replica;
    // A replica that cannot be made is no copy and still result 0, whatever
    // the reason; one that cannot take every parameter is whole or not made:
    // it goes with the reference held here.
    const HRESULT made = create ? create(nullptr, &IID_IUnknown, replica.put_void()) : E_FAIL;
    if (made != S_OK || !replica) return S_OK;
    if (SmartPtr<IParameters> target = replica.query<IParameters>()) {
        if (FAILED(replicateParameters(parameters, target.get()))) return S_OK;
    }
    if (SmartPtr<IInputParameters> targetInputs = replica.query<IInputParameters>())
        replicateInputs(targetInputs.get());
    *copy = replica.detach();
    return S_OK;
}

void StepInputs::saveInputs(IDataStream* stream, int32_t mode) {
    if (SmartPtr<IDataPersist> inputs = queryInterface<IDataPersist>(m_InputList)) inputs->Save(stream, mode);
}

void StepInputs::loadInputs(IDataStream* stream, int32_t mode) {
    if (SmartPtr<IDataPersist> inputs = queryInterface<IDataPersist>(m_InputList)) inputs->Load(stream, mode);
}

// Inputs are matched by position; each side must be a binding.
void StepInputs::replicateInputs(IInputParameters* target) {
    IInputParameters* source = m_Inputs.get();
    if (!source || !target) return;
    int32_t count = 0;
    source->get_Count(&count);
    for (int32_t index = 0; index < count; ++index) {
        SmartPtr<IUnknown> from;
        SmartPtr<IUnknown> to;
        if (FAILED(source->get_Item(index, from.put())) || FAILED(target->get_Item(index, to.put()))) continue;
        SmartPtr<IInputParameter> sourceBinding = from.query<IInputParameter>();
        SmartPtr<IInputParameter> targetBinding = to.query<IInputParameter>();
        if (sourceBinding && targetBinding) copyBoundObject(sourceBinding.get(), targetBinding.get());
    }
}
