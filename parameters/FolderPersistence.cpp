#include "parameters/FolderPersistence.h"

#include <cwctype>
#include <vector>

namespace persistence_detail {

SmartPtr<IString> nameString(const wchar_t* text) { return ISCreate(text); }

SmartPtr<IString> entryName(IString* name, int32_t index) {
    const wchar_t* text = nullptr;
    int32_t length = 0;
    if (name && name->get_Text(&text, &length) >= 0 && text && length > 0) return SmartPtr<IString>(name);
    wchar_t buffer[256];
    _swprintf(buffer, 256, L"Item%d", index + 1);
    return ISCreate(buffer);
}

SmartPtr<IString> stringOf(IVariant* value) {
    SmartPtr<IString> string;
    if (value && value->get_String(string.put()) < 0) string = nullptr;
    return string;
}

SmartPtr<IString> withForwardSlashes(IString* string) {
    const CREFString view(string);
    std::vector<wchar_t> text(view.text, view.text + (view.empty() ? 0 : view.count));
    for (wchar_t& c : text) {
        if (c == L'\\') c = L'/';
    }
    return ISCreate(tagREFString{static_cast<int32_t>(text.size()), text.data()});
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
        if (FILENAMEMap(string.get(), mapped.put(), 0) >= 0 && mapped) result = IVCreate(mapped.get());
    }
    if (path && !(flags & PARAMETER_RELATIVE_PATH)) {
        SmartPtr<IString> install;
        FILENAMEGetInstallPath(install.put());
        if (beginsAlike(install.get(), string.get())) flags |= PARAMETER_RELATIVE_PATH;
    }
    if (flags & PARAMETER_RELATIVE_PATH) {
        SmartPtr<IString> relative;
        SmartPtr<IString> mapped;
        if (FILENAMECreateRelative(string.get(), relative.put(), 0) >= 0 && relative) {
            result = IVCreate(relative.get());
        } else if (FILENAMEMap(string.get(), mapped.put(), 0) >= 0 && mapped) {
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
    if (FILENAMEUnmap(string.get(), restored.put()) >= 0 && restored) {
        value->put_String(restored.get());
    } else if (flags & PARAMETER_RELATIVE_PATH) {
        if (FILENAMECreateAbsolute(string.get(), restored.put(), 0) >= 0 && restored) value->put_String(restored.get());
    } else if (path && !rebuild) {
        value->put_String(withForwardSlashes(string.get()).get());
    }
    if (path && rebuild) {
        if (SmartPtr<IString> current = stringOf(value)) value->put_String(withForwardSlashes(current.get()).get());
    }
}

bool readFolderEntry(IFolderStream* folder, bool rebuild, FolderEntry& entry) {
    unsigned char bytes[4] = {0, 0, 0, 0};
    entry.flags = 0;
    if (folder->ReadBinary(nameString(L"Flags").get(), bytes, 4, 0) >= 0) {
        entry.flags = static_cast<int32_t>(uint32_t(bytes[0]) | uint32_t(bytes[1]) << 8 | uint32_t(bytes[2]) << 16 |
                                           uint32_t(bytes[3]) << 24);
    }
    entry.value = CREFString::CreateVariant();
    if (!entry.value) return false;
    if (folder->ReadValue(nameString(L"Value").get(), entry.value.get()) < 0) {
        SmartPtr<IUnknown> object;
        if (folder->ReadObject(nameString(L"Unknown").get(), object.put(), 0) >= 0 && object) {
            entry.value->put_Value(object.get());
        }
    }
    restorePath(entry.value.get(), entry.flags, rebuild);
    SmartPtr<IUnknown> descriptor;
    if (folder->ReadObject(nameString(L"Descriptor").get(), descriptor.put(), 0) >= 0 && descriptor) {
        entry.descriptor = descriptor;
    }
    return true;
}

}  // namespace persistence_detail
