#include "parameters/FolderPersistence.h"

#include <cwctype>

#include "runtime/CREFString.h"
#include "runtime/FileNames.h"
#include "runtime/Values.h"

namespace {

SmartPtr<IString> nameString(const wchar_t* text) { return ISCreate(text); }

SmartPtr<IString> stringOf(IVariant* value) {
    SmartPtr<IString> string;
    if (value && FAILED(value->get_String(string.put()))) string = nullptr;
    return string;
}

bool beginsAlike(IString* a, IString* b) {
    const CREFString left(a);
    const CREFString right(b);
    if (left.empty() || right.empty()) return false;
    const int32_t length = left.count < right.count ? left.count : right.count;
    for (int32_t i = 0; i < length; ++i) {
        if (std::towlower(static_cast<wint_t>(left.text[i])) != std::towlower(static_cast<wint_t>(right.text[i]))) {
            return false;
        }
    }
    return true;
}

SmartPtr<IVariant> portablePath(IVariant* value, int32_t& flags) {
    SmartPtr<IString> string = stringOf(value);
    if (!string) return nullptr;
    SmartPtr<IVariant> result;
    const bool path = (flags & (PARAMETER_PATH | PARAMETER_PATH_ALTERNATE)) != 0;
    if (!path) {
        SmartPtr<IString> mapped;
        if (SUCCEEDED(FILENAMEMap(string.get(), mapped.put(), 0)) && mapped) result = IVCreate(mapped.get());
    }
    if (path && !(flags & PARAMETER_RELATIVE_PATH)) {
        SmartPtr<IString> install;
        FILENAMEGetInstallPath(install.put());
        if (beginsAlike(install.get(), string.get())) flags |= PARAMETER_RELATIVE_PATH;
    }
    if (flags & PARAMETER_RELATIVE_PATH) {
        SmartPtr<IString> relative;
        SmartPtr<IString> mapped;
        if (SUCCEEDED(FILENAMECreateRelative(string.get(), relative.put(), 0)) && relative) {
            result = IVCreate(relative.get());
        } else if (SUCCEEDED(FILENAMEMap(string.get(), mapped.put(), 0)) && mapped) {
            result = IVCreate(mapped.get());
        }
    }
    return result;
}

void restorePath(IVariant* value, int32_t flags, bool rebuild) {
    if (!value || !(flags & 6)) return;
    SmartPtr<IString> string = stringOf(value);
    if (!string) return;
    const bool path = (flags & (PARAMETER_PATH | PARAMETER_PATH_ALTERNATE)) != 0;
    SmartPtr<IString> restored;
    if (SUCCEEDED(FILENAMEUnmap(string.get(), restored.put())) && restored) {
        value->put_String(restored.get());
    } else if (flags & PARAMETER_RELATIVE_PATH) {
        if (SUCCEEDED(FILENAMECreateAbsolute(string.get(), restored.put(), 0)) && restored)
            value->put_String(restored.get());
    } else if (path && !rebuild) {
        value->put_String(FILENAMEWithForwardSlashes(string.get()).get());
    }
    if (path && rebuild) {
        if (SmartPtr<IString> current = stringOf(value))
            value->put_String(FILENAMEWithForwardSlashes(current.get()).get());
    }
}

// The parameter's stored content from a sub-folder: flags, value (from
// "Value" or else "Unknown"), descriptor (null when absent).
struct FolderEntry {
    int32_t flags = 0;
    SmartPtr<IVariant> value;
    SmartPtr<IUnknown> descriptor;
};

bool readFolderEntry(IFolderStream* folder, bool rebuild, FolderEntry& entry) {
    unsigned char bytes[4] = {0, 0, 0, 0};
    entry.flags = 0;
    if (SUCCEEDED(folder->ReadBinary(nameString(L"Flags").get(), bytes, 4, 0))) {
        entry.flags = static_cast<int32_t>(uint32_t(bytes[0]) | uint32_t(bytes[1]) << 8 | uint32_t(bytes[2]) << 16 |
                                           uint32_t(bytes[3]) << 24);
    }
    entry.value = CREFString::CreateVariant();
    if (!entry.value) return false;
    if (FAILED(folder->ReadValue(nameString(L"Value").get(), entry.value.get()))) {
        SmartPtr<IUnknown> object;
        if (SUCCEEDED(folder->ReadObject(nameString(L"Unknown").get(), object.put(), 0)) && object) {
            entry.value->put_Value(object.get());
        }
    }
    restorePath(entry.value.get(), entry.flags, rebuild);
    SmartPtr<IUnknown> descriptor;
    if (SUCCEEDED(folder->ReadObject(nameString(L"Descriptor").get(), descriptor.put(), 0)) && descriptor) {
        entry.descriptor = descriptor;
    }
    return true;
}

}  // namespace

HRESULT PARAMSSaveFolderStream(ParameterCollection& parameters, IDataStream* stream, int32_t mode) {
    SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
    if (!folder) return S_OK;
    for (int32_t index = 0, count = parameters.count(); index < count; ++index) {
        StoredParameter stored = parameters.stored(index);
        SmartPtr<IString> name = ParameterCollection::entryName(stored.name.get(), index);
        SmartPtr<IVariant> value = stored.value;
        SmartPtr<IUnknown> descriptor = stored.descriptor;
        int32_t flags = stored.flags;
        const bool binding = static_cast<bool>(descriptor.query<IInputParameter>());

        if (mode & MODE_COMPACT) {
            // Keep only what the step's own declaration cannot restore.
            bool reduceKind = true;
            if ((flags & PARAMETER_MARKERS) == PARAMETER_CHOICES && !binding) {
                descriptor = nullptr;
                flags = 0;
                reduceKind = false;
            }
            const int32_t kind = flags & PARAMETER_KIND_MASK;
            if (reduceKind &&
                (kind == PARAMETER_KIND_INTEGER || kind == PARAMETER_KIND_DECIMAL || flags == PARAMETER_KIND_BUTTON)) {
                flags = 0;
            }
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
            if (object && !isSameObject(object.get(), parameters.face())) {
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

HRESULT PARAMSLoadFolderStream(ParameterCollection& parameters, IDataStream* stream, int32_t mode) {
    SmartPtr<IFolderStream> folder = queryInterface<IFolderStream>(stream);
    SmartPtr<INamedCollection> entries = queryInterface<INamedCollection>(stream);
    if (!folder || !entries) return S_OK;
    const bool rebuild = (mode & MODE_REBUILD) != 0;

    if (rebuild) {
        // The whole set is read before it replaces the declared one.
        ParameterBatch read;
        int32_t count = 0;
        entries->get_Count(&count);
        for (int32_t index = 0; index < count; ++index) {
            SmartPtr<IString> name;
            SmartPtr<IUnknown> item;
            if (FAILED(entries->get_ItemName(index, name.put())) || FAILED(entries->get_Item(index, item.put())))
                continue;
            HRESULT added = S_OK;
            if (SmartPtr<IFolderStream> sub = item.query<IFolderStream>()) {
                FolderEntry entry;
                if (!readFolderEntry(sub.get(), true, entry)) continue;
                added = read.add(name.get(), entry.value.get(), entry.descriptor.get(), entry.flags);
            } else {
                SmartPtr<IVariant> value = CREFString::CreateVariant();
                if (!value || FAILED(folder->ReadValue(name.get(), value.get()))) continue;
                added = read.add(name.get(), value.get(), nullptr, 0);
            }
            if (added == E_OUTOFMEMORY) return added;
        }
        return parameters.replaceAll(read);
    }

    int32_t declared = 0;
    parameters.get_Count(&declared);
    for (int32_t index = 0; index < declared; ++index) {
        SmartPtr<IString> name;
        if (FAILED(parameters.get_ItemName(index, name.put()))) continue;
        int32_t found = -1;
        if (FAILED(entries->get_Index(name.get(), &found)) || found < 0) continue;
        SmartPtr<IUnknown> item;
        if (FAILED(entries->get_Item(found, item.put()))) continue;
        if (SmartPtr<IFolderStream> sub = item.query<IFolderStream>()) {
            FolderEntry entry;
            if (!readFolderEntry(sub.get(), false, entry)) continue;
            parameters.put_Item(index, entry.value.get());
            if (entry.descriptor) parameters.put_ItemDescriptor(index, entry.descriptor.get());
        } else {
            // A value entry that cannot be read leaves the declared default.
            SmartPtr<IVariant> value = CREFString::CreateVariant();
            if (value && SUCCEEDED(folder->ReadValue(name.get(), value.get()))) parameters.put_Item(index, value.get());
        }
    }
    return S_OK;
}
