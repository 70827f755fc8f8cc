#include "runtime/FileNames.h"

#include <dirent.h>
#include <limits.h>

#include <algorithm>
#include <cstdio>
#include <cwctype>

#include "runtime/CREFString.h"
#include "runtime/ComponentAccess.h"
#include "runtime/SmartPtr.h"
#include "runtime/TextEncoding.h"
#include "runtime/Values.h"

namespace {

constexpr wchar_t kInstallPathName[] = L"InstallPath";

bool isSeparator(wchar_t c) { return c == L'/' || c == L'\\'; }

SmartPtr<IRegistry> settingsStore() { return CreateObject<IRegistry>(L"Registry"); }

// One value of the settings store as a host string, or null when the store
// has no such value.
SmartPtr<IString> readValue(IRegistry* store, const tagREFString& section, const tagREFString& key) {
    SmartPtr<IString> sectionName = ISCreate(section);
    SmartPtr<IString> keyName = ISCreate(key);
    SmartPtr<IString> value;
    if (FAILED(store->GetValue(sectionName.get(), keyName.get(), value.put()))) return nullptr;
    return value;
}

HRESULT readWorkspacePath(const wchar_t* key, IString** out) {
    if (!out) return E_POINTER;
    wchar_t buffer[kRegistryStringCapacity] = {};
    HRESULT result = E_FAIL;
    if (SmartPtr<IRegistryEx> store = CreateObject<IRegistryEx>(L"Registry")) {
        result = store->GetString(L"Workspace", key, buffer);
    }
    // A store that fills the whole buffer leaves no terminator: never read past it.
    const wchar_t* end = std::find(buffer, buffer + kRegistryStringCapacity, L'\0');
    *out = ISCreate(tagREFString{static_cast<int32_t>(end - buffer), buffer}).detach();
    return result;
}

// A new string made of the given parts; null when the host cannot make one.
SmartPtr<IString> joined(std::initializer_list<tagREFString> parts) {
    SmartPtr<IString> result = ISCreate(tagREFString{0, nullptr});
    if (!result) return nullptr;
    for (const tagREFString& part : parts) {
        if (part.count > 0 && part.text) result->Append(part.count, part.text);
    }
    return result;
}

// Hands result to the caller: 0, or E_FAIL when the host made no string.
HRESULT handOver(SmartPtr<IString> result, IString** out) {
    if (!result) return E_FAIL;
    *out = result.detach();
    return S_OK;
}

// Drops the first "/" of a "//" prefix when more than minimum characters are left.
void dropDoubleSlash(CREFString& path, int32_t minimum) {
    if (path.count > minimum && path.text[0] == L'/' && path.text[1] == L'/') {
        ++path.text;
        --path.count;
    }
}

CREFString rest(const CREFString& text, int32_t from) {
    return from < text.count ? CREFString(text.text + from, text.count - from) : CREFString(text.text, 0);
}

SmartPtr<IString> basePath(int16_t selector) {
    SmartPtr<IString> base;
    if (selector == 0) {
        FILENAMEGetInstallPath(base.put());
    } else {
        FILENAMEGetAppPath(base.put());
    }
    return base;
}

}  // namespace

HRESULT FILENAMEGetInstallPath(IString** out) { return readWorkspacePath(kInstallPathName, out); }

HRESULT FILENAMEGetAppPath(IString** out) { return readWorkspacePath(L"AppPath", out); }

HRESULT FILENAMEMap(IString* path, IString** out, int16_t relative) {
    if (!out) return E_POINTER;
    SmartPtr<IRegistry> store = settingsStore();
    if (!store) return E_NO_SETTINGS_STORE;

    SmartPtr<IString> installPath = readValue(store.get(), CREFString(L"Workspace"), CREFString(kInstallPathName));
    CREFString install(installPath.get());
    CREFString text(path);
    dropDoubleSlash(text, 2);
    dropDoubleSlash(install, 1);

    if (text.CompareI(install, 1) >= 0) {
        CREFString after = rest(text, install.count);
        if (!relative)
            return handOver(joined({CREFString(L"["), CREFString(kInstallPathName), CREFString(L"]"), after}), out);
        if (!after.empty() && isSeparator(after.text[0])) after = rest(after, 1);
        if (after.empty())
            return handOver(joined({CREFString(L"["), CREFString(kInstallPathName), CREFString(L"]")}), out);
        return handOver(ISCreate(after), out);
    }

    SmartPtr<INamedCollection> mappings;
    SmartPtr<IString> sectionName = ISCreate(L"Mappings");
    const HRESULT found = store->get_Section(sectionName.get(), mappings.put());
    if (FAILED(found)) return found;
    int32_t entries = 0;
    if (!mappings || FAILED(mappings->get_Count(&entries)) || entries <= 0) return E_FAIL;
    for (int32_t i = 0; i < entries; ++i) {
        SmartPtr<IUnknown> item;
        mappings->get_Item(i, item.put());
        SmartPtr<IString> folder = item.query<IString>();
        if (!folder) continue;
        const CREFString folderPath(folder.get());
        if (folderPath.count > text.count || text.CompareI(folderPath, 1) < 0) continue;
        SmartPtr<IString> key;
        mappings->get_ItemName(i, key.put());
        return handOver(
            joined({CREFString(L"["), CREFString(key.get()), CREFString(L"]"), rest(text, folderPath.count)}), out);
    }
    return E_FAIL;
}

HRESULT FILENAMEUnmap(IString* portable, IString** out) {
    if (!out) return E_POINTER;
    const CREFString text(portable);
    if (text.empty() || text.text[0] != L'[') return E_FAIL;
    SmartPtr<IRegistry> store = settingsStore();
    if (!store) return E_FAIL;
    const int32_t close = text.ContainsChar(CREFString(L"]"));
    if (close < 0) return E_FAIL;

    const CREFString name(text.text + 1, close - 1);
    const bool install = name.CompareI(CREFString(kInstallPathName), 1) == S_OK;
    SmartPtr<IString> value = install ? readValue(store.get(), CREFString(L"Workspace"), CREFString(kInstallPathName))
                                      : readValue(store.get(), CREFString(L"Mappings"), name);
    if (!value) return E_FAIL;
    SmartPtr<IString> unmapped = joined({CREFString(value.get()), rest(text, close + 1)});
    if (!unmapped) return E_FAIL;
    return handOver(FILENAMEWithForwardSlashes(unmapped.get()), out);
}

HRESULT FILENAMECreateRelative(IString* path, IString** out, int16_t selector) {
    if (!out) return E_POINTER;
    SmartPtr<IString> base = basePath(selector);
    return FILENAMECreateRelative(base.get(), path, out);
}

HRESULT FILENAMECreateRelative(IString* base, IString* path, IString** out) {
    if (!out) return E_POINTER;
    const CREFString from(base);
    const CREFString text(path);
    const int32_t baseLength = from.empty() ? 0 : from.count;
    const int32_t pathLength = text.empty() ? 0 : text.count;
    const auto unchanged = [&] {
        SmartPtr<IString>(path).copy_to(out);
        return S_OK;
    };

    const int32_t shorter = std::min(baseLength, pathLength);
    if (shorter <= 0) return unchanged();
    int32_t common = 0;
    while (common < shorter && std::towlower(static_cast<wint_t>(from.text[common])) ==
                                   std::towlower(static_cast<wint_t>(text.text[common]))) {
        ++common;
    }
    if (common < shorter) --common;  // up to the character before the first difference
    if (common <= 0) return unchanged();

    // The last separator of the path within the common part (the first
    // character does not count), which the relative form starts after.
    int32_t separators = 0;
    int32_t last = -1;
    for (int32_t i = 1; i <= common && i < pathLength; ++i) {
        if (isSeparator(text.text[i])) {
            ++separators;
            last = i;
        }
    }
    if (separators < 2) return unchanged();

    int32_t levels = last < baseLength ? 1 : 0;
    for (int32_t i = last + 1; i < baseLength; ++i) {
        if (isSeparator(from.text[i])) ++levels;
    }
    SmartPtr<IString> result = ISCreate(tagREFString{0, nullptr});
    if (!result) return E_FAIL;
    for (int32_t i = 0; i < levels; ++i) result->Append(3, L"..\\");
    const CREFString after = rest(text, last + 1);
    if (!after.empty()) result->Append(after.count, after.text);
    return handOver(std::move(result), out);
}

HRESULT FILENAMECreateAbsolute(IString* path, IString** out, int16_t selector) {
    if (!out) return E_POINTER;
    const CREFString text(path);
    if (text.empty()) {
        SmartPtr<IString>(path).copy_to(out);
        return S_OK;
    }
    if (text.ContainsChar(CREFString(L":")) >= 0 || text.text[0] == L'/' || text.count <= 2) {
        return handOver(FILENAMEWithForwardSlashes(path), out);
    }
    int32_t levels = 0;
    while (3 * levels + 2 < text.count && text.text[3 * levels] == L'.' && text.text[3 * levels + 1] == L'.' &&
           text.text[3 * levels + 2] == L'\\') {
        ++levels;
    }

    SmartPtr<IString> basePathString = basePath(selector);
    CREFString base(basePathString.get());
    // Each level up cuts the base before one more "/" from its end, but never
    // down to two characters or fewer.
    if (levels > 0) {
        int32_t seen = 0;
        for (int32_t i = base.count - 1; i >= 0; --i) {
            if (base.text[i] != L'/' || ++seen < levels) continue;
            if (i > 2) base.count = i;
            break;
        }
    }
    SmartPtr<IString> tail = ISCreate(rest(text, 3 * levels));
    if (!tail) return E_FAIL;
    tail = FILENAMEWithForwardSlashes(tail.get());
    if (!tail) return E_FAIL;
    return handOver(joined({base, CREFString(L"/"), CREFString(tail.get())}), out);
}

// Copied through a small buffer, so that no length of path needs storage
// of the module's own.
SmartPtr<IString> FILENAMEWithForwardSlashes(IString* path) {
    const CREFString text(path);
    const int32_t length = text.empty() ? 0 : text.count;
    if (std::find(text.text, text.text + length, L'\\') == text.text + length) return SmartPtr<IString>(path);
    SmartPtr<IString> result = ISCreate(tagREFString{0, nullptr});
    if (!result) return nullptr;
    wchar_t chunk[64];
    for (int32_t done = 0; done < length;) {
        const int32_t size = std::min<int32_t>(length - done, 64);
        std::replace_copy(text.text + done, text.text + done + size, chunk, L'\\', L'/');
        result->Append(size, chunk);
        done += size;
    }
    return result;
}

bool FILENAMEExists(const CREFString& name) {
    char path[PATH_MAX];
    if (encodeUtf8(name.text, name.count, path, sizeof path) >= sizeof path) return false;
    if (DIR* directory = opendir(path)) {
        closedir(directory);
        return true;
    }
    if (std::FILE* file = std::fopen(path, "rb")) {
        std::fclose(file);
        return true;
    }
    return false;
}
