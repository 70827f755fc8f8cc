// The step's parameter collection as the host sees it: IParameters, or
// IParametersCreatable for the steps whose parameter set the user defines.
//
// This template is only the binary layout. Its table is the interface's
// operations followed by its own, in the host's slot order, for both
// variants: a host that holds the collection calls AddNOLOCK, Params_SaveCSV
// or getParameter through the table, whatever the C++ names. Every operation
// forwards to the one ParameterCollection that all step classes share.
//
// In the IParametersCreatable variant Copy and Sort override the interface's
// own and take no slot of their own; Add, Remove, RemoveAll and Set are
// declared without `virtual`, so that they override the interface there and
// are plain members in the IParameters variant.
#pragma once

#include <cstdint>
#include <type_traits>

#include "parameters/FolderPersistence.h"
#include "parameters/ParameterCollection.h"
#include "parameters/XmlPersistence.h"
#include "runtime/Interfaces.h"
#include "runtime/ObjectBase.h"

template <class T, class I>
class IParametersImpl : public I {
    static_assert(std::is_same_v<I, IParameters> || std::is_same_v<I, IParametersCreatable>,
                  "a step's collection is IParameters or IParametersCreatable");
    static constexpr bool kCreatable = std::is_same_v<I, IParametersCreatable>;

public:
    // --- IParameters -------------------------------------------------------
    HRESULT get_Count(int32_t* count) override { return m_Parameters.get_Count(count); }
    HRESULT get_Item(int32_t index, IUnknown** out) override { return m_Parameters.get_Item(index, out); }
    HRESULT get_Index(IUnknown* key, int32_t* index) override { return m_Parameters.get_Index(key, index); }
    HRESULT get_ItemName(int32_t index, IString** out) override { return m_Parameters.get_ItemName(index, out); }
    HRESULT Rename(int32_t index, IString* name) override { return m_Parameters.Rename(index, name); }
    // The step's own Lock, then the flag; the flag is cleared while the lock
    // is still held, so that a late clear cannot overwrite the flag of the
    // next holder (the Property read step's lock is a real mutex).
    HRESULT CollectionLock() override {
        static_cast<T*>(this)->Lock();
        m_Parameters.setLocked(true);
        return S_OK;
    }
    HRESULT CollectionUnlock() override {
        m_Parameters.setLocked(false);
        static_cast<T*>(this)->Unlock();
        return S_OK;
    }
    HRESULT IsCollectionLocked() override { return m_Parameters.IsCollectionLocked(); }
    HRESULT Iterate(int32_t index, IString** name, IVariant** value, IUnknown** descriptor, int32_t* flags) override {
        return m_Parameters.Iterate(index, name, value, descriptor, flags);
    }
    HRESULT get_ItemVariant(int32_t index, IVariant** out) override { return m_Parameters.get_ItemVariant(index, out); }
    HRESULT put_Item(int32_t index, IUnknown* value) override { return m_Parameters.put_Item(index, value); }
    HRESULT get_ItemDescriptor(int32_t index, IUnknown** out) override {
        return m_Parameters.get_ItemDescriptor(index, out);
    }
    HRESULT put_ItemDescriptor(int32_t index, IUnknown* descriptor) override {
        return m_Parameters.put_ItemDescriptor(index, descriptor);
    }
    HRESULT get_ItemFlags(int32_t index, int32_t* flags) override { return m_Parameters.get_ItemFlags(index, flags); }
    HRESULT put_ItemFlags(int32_t index, int32_t flags) override { return m_Parameters.put_ItemFlags(index, flags); }

    // --- IParametersCreatable; plain members in the IParameters variant ------
    HRESULT Add(IString* name, IUnknown* value, IUnknown* descriptor, int32_t flags) {
        return m_Parameters.Add(name, value, descriptor, flags);
    }
    HRESULT Remove(int32_t index) { return m_Parameters.Remove(index); }
    HRESULT RemoveAll() { return m_Parameters.RemoveAll(); }
    HRESULT Set(IUnknown* key, IUnknown* value, IUnknown* descriptor, int32_t flags, int16_t mode) {
        return m_Parameters.Set(key, value, descriptor, flags, mode);
    }

    // --- The template's own operations, in slot order ------------------------
    virtual HRESULT AddNOLOCK(IString* name, IUnknown* value, IUnknown* descriptor, int32_t flags) {
        return m_Parameters.AddNOLOCK(name, value, descriptor, flags);
    }
    virtual HRESULT get_ItemNOLOCK(int32_t index, IUnknown** out) { return m_Parameters.get_ItemNOLOCK(index, out); }
    virtual HRESULT put_ItemNOLOCK(int32_t index, IUnknown* value) { return m_Parameters.put_ItemNOLOCK(index, value); }
    virtual HRESULT get_ItemNameNOLOCK(int32_t index, IString** out) {
        return m_Parameters.get_ItemNameNOLOCK(index, out);
    }
    virtual HRESULT Copy(IParameters* source) { return m_Parameters.Copy(source, kCreatable); }
    virtual HRESULT Sort(int32_t mode) { return m_Parameters.Sort(mode); }
    virtual HRESULT Params_SaveCSV(IDataStream* stream, int32_t mode) {
        return m_Parameters.Params_SaveCSV(stream, mode);
    }
    virtual HRESULT Params_SaveXML(IDataStream* stream, int32_t mode) {
        return PARAMSSaveXML(m_Parameters, stream, mode);
    }
    virtual HRESULT Params_LoadXML(IDataStream* stream, int32_t mode, int32_t /*reserved*/) {
        return PARAMSLoadXML(m_Parameters, stream, mode);
    }
    virtual HRESULT Params_SaveFolderStream(IDataStream* stream, int32_t mode) {
        return PARAMSSaveFolderStream(m_Parameters, stream, mode);
    }
    virtual HRESULT Params_LoadFolderStream(IDataStream* stream, int32_t mode) {
        return PARAMSLoadFolderStream(m_Parameters, stream, mode);
    }
    virtual HRESULT Params_SaveXMLUnk(IDataStream* stream, int32_t mode) {
        return PARAMSSaveXMLUnk(m_Parameters, stream, mode);
    }
    virtual HRESULT Params_LoadXMLUnk(IDataStream* stream, int32_t mode) {
        return PARAMSLoadXMLUnk(m_Parameters, stream, mode, kCreatable);
    }
    // 1 with a bound input's value, 0 with the stored one.
    virtual HRESULT getParameter(PARAMETEROBJECT* item, IUnknown** out) { return m_Parameters.getParameter(item, out); }

    int32_t PARAMInteger(int32_t index, int32_t defaultValue) { return m_Parameters.readInteger(index, defaultValue); }

protected:
    IParametersImpl() : m_Parameters(this, hasOwnLock()) {}
    ~IParametersImpl() = default;
    IParametersImpl(const IParametersImpl&) = delete;
    IParametersImpl& operator=(const IParametersImpl&) = delete;

    ParameterCollection m_Parameters;

private:
    // A class that overrides Lock names its own member; the others name the
    // object base's, which does nothing.
    static constexpr bool hasOwnLock() {
        return !std::is_same_v<decltype(&T::Lock), void (CObjectRoot::*)()> ||
               !std::is_same_v<decltype(&T::Unlock), void (CObjectRoot::*)()>;
    }
};
