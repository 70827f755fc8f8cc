// A step's parameters in a folder stream: a value entry per parameter in the
// simple form, or a sub-folder with "Value" or "Unknown", "Flags" and
// "Descriptor" in the folder form.
//
// Both work through the collection's own operations, so what is saved is what
// readers see (a bound input's current value) and every access is guarded.
#pragma once

#include <cstdint>
#include <cwchar>

#include "parameters/IParametersImpl.h"
#include "runtime/CREFString.h"
#include "runtime/FileNames.h"
#include "runtime/Values.h"

namespace persistence_detail {

// "Item%d" with the index plus one, for a parameter without a name.
SmartPtr<IString> entryName(IString* name, int32_t index);

// The value's string, or null when it holds none.
SmartPtr<IString> stringOf(IVariant* value);

// A copy of the string's text with every "\" turned into "/".
SmartPtr<IString> withForwardSlashes(IString* string);

// Case-insensitive agreement over the shorter of the two texts, both non-empty.
bool beginsAlike(IString* a, IString* b);

// The value to write for a path parameter, and the flags with bit 0x100 when
// the path lies under the installation directory.
SmartPtr<IVariant> portablePath(IVariant* value, int32_t& flags);

// Restores a stored path in the variant: unmapped, made absolute, or with
// forward slashes; rebuild applies the slashes after the other two as well.
void restorePath(IVariant* value, int32_t flags, bool rebuild);

// The parameter's stored content from a sub-folder: flags, value (from
// "Value" or else "Unknown"), descriptor (null when absent).
struct FolderEntry {
    int32_t flags = 0;
    SmartPtr<IVariant> value;
    SmartPtr<IUnknown> descriptor;
};
bool readFolderEntry(IFolderStream* folder, bool rebuild, FolderEntry& entry);

SmartPtr<IString> nameString(const wchar_t* text);

// One parameter as a writer takes it: in one call of the collection, so that
// name, value (a bound input's current one), descriptor and flags belong
// together even while the step's run writes its results.
struct StoredParameter {
    SmartPtr<IString> name;
    SmartPtr<IVariant> value;
    SmartPtr<IUnknown> descriptor;
    int32_t flags = 0;
};
template <class Collection>
StoredParameter storedParameter(Collection& parameters, int32_t index, bool withValue = true) {
    StoredParameter stored;
    parameters.Iterate(index, stored.name.put(), withValue ? stored.value.put() : nullptr, stored.descriptor.put(),
                       &stored.flags);
    return stored;
}

}  // namespace persistence_detail

// Writes every parameter; always 0. A stream without IFolderStream is left
// untouched. `self` is the step: a value holding the step itself is not
// written as an object.
template <class Collection>
HRESULT PARAMSSaveFolderStream(Collection& parameters, IUnknown* self, IDataStream* stream, int32_t mode) {
    using namespace persistence_detail;
    SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
    if (!folder) return S_OK;
    int32_t count = 0;
    parameters.get_Count(&count);
    for (int32_t index = 0; index < count; ++index) {
        StoredParameter stored = storedParameter(parameters, index);
        SmartPtr<IString> name = entryName(stored.name.get(), index);
        SmartPtr<IVariant> value = stored.value;
        SmartPtr<IUnknown> descriptor = stored.descriptor;
        int32_t flags = stored.flags;
        const bool binding = static_cast<bool>(descriptor.template query<IInputParameter>());

        if (mode & MODE_COMPACT) {
            // Keep only what the step's own declaration cannot restore.
            bool reduceKind = true;
            if ((flags & 0xF0) == PARAMETER_CHOICES && !binding) {
                descriptor = nullptr;
                flags = 0;
                reduceKind = false;
            }
            const int32_t kind = flags & PARAMETER_KIND_MASK;
            if (reduceKind && (kind == 3 || kind == 5 || flags == 9)) flags = 0;
            if (!descriptor && (flags & PARAMETER_RESULT)) continue;
        }
        if (flags & PARAMETER_NEVER_STORED) continue;
        const bool holdsObject = value && value->IsObject();
        if (flags == 0 && !descriptor && !holdsObject) {
            if (value) folder->WriteValue(name.get(), value.get());
            continue;
        }

        SmartPtr<IFolderStream> entry;
        folder->CreateFolder(name.get(), 0, entry.put());
        if (!entry) continue;
        SmartPtr<IVariant> written = value;
        if (value && (flags & 6)) {
            if (SmartPtr<IVariant> portable = portablePath(value.get(), flags)) written = portable;
        }
        if (value && !holdsObject) {
            entry->WriteValue(nameString(L"Value").get(), written.get());
        } else if (holdsObject && !binding) {
            SmartPtr<IUnknown> object;
            value->get_Object(object.put());
            if (object && !isSameObject(object.get(), self)) {
                entry->WriteObject(nameString(L"Unknown").get(), object.get(), 0);
            }
        }
        if (flags != 0) {
            const uint32_t bits = static_cast<uint32_t>(flags);
            const unsigned char bytes[4] = {static_cast<unsigned char>(bits), static_cast<unsigned char>(bits >> 8),
                                            static_cast<unsigned char>(bits >> 16),
                                            static_cast<unsigned char>(bits >> 24)};
            entry->WriteBinary(nameString(L"Flags").get(), bytes, 4, 0);
        }
        if (descriptor) entry->WriteObject(nameString(L"Descriptor").get(), descriptor.get(), 0);
    }
    return S_OK;
}

// Reads the parameters back; always 0. Without the rebuild bit, the declared
// parameters keep their place and their flags and take the stored values and
// descriptors; with it, the set is re-created from the stream's entries.
template <class Collection>
HRESULT PARAMSLoadFolderStream(Collection& parameters, IDataStream* stream, int32_t mode) {
    using namespace persistence_detail;
    SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
    SmartPtr<INamedCollection> entries = queryInterface<INamedCollection>(stream);
    if (!folder || !entries) return S_OK;
    const bool rebuild = (mode & MODE_REBUILD) != 0;

    if (rebuild) {
        parameters.RemoveAll();
        int32_t count = 0;
        entries->get_Count(&count);
        for (int32_t index = 0; index < count; ++index) {
            SmartPtr<IString> name;
            SmartPtr<IUnknown> item;
            if (entries->get_ItemName(index, name.put()) < 0 || entries->get_Item(index, item.put()) < 0) continue;
            if (SmartPtr<IFolderStream> sub = item.query<IFolderStream>()) {
                FolderEntry entry;
                if (!readFolderEntry(sub.get(), true, entry)) continue;
                parameters.Add(name.get(), entry.value.get(), entry.descriptor.get(), entry.flags);
            } else {
                SmartPtr<IVariant> value = CREFString::CreateVariant();
                if (!value || folder->ReadValue(name.get(), value.get()) < 0) continue;
                parameters.Add(name.get(), value.get(), nullptr, 0);
            }
        }
        return S_OK;
    }

    int32_t declared = 0;
    parameters.get_Count(&declared);
    for (int32_t index = 0; index < declared; ++index) {
        SmartPtr<IString> name;
        if (parameters.get_ItemName(index, name.put()) < 0) continue;
        int32_t found = -1;
        if (entries->get_Index(name.get(), &found) < 0 || found < 0) continue;
        SmartPtr<IUnknown> item;
        if (entries->get_Item(found, item.put()) < 0) continue;
        if (SmartPtr<IFolderStream> sub = item.query<IFolderStream>()) {
            FolderEntry entry;
            if (!readFolderEntry(sub.get(), false, entry)) continue;
            parameters.put_Item(index, entry.value.get());
            if (entry.descriptor) parameters.put_ItemDescriptor(index, entry.descriptor.get());
        } else {
            // A value entry that cannot be read leaves the declared default.
            SmartPtr<IVariant> value = CREFString::CreateVariant();
            if (value && folder->ReadValue(name.get(), value.get()) >= 0) parameters.put_Item(index, value.get());
        }
    }
    return S_OK;
}
