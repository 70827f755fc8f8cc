// The file-name functions against an arbitrary settings store: installation
// and application paths, mappings of any count, names and length (the
// store's settings file text, or values set one by one), and paths of any
// shape mapped, unmapped, made relative and absolute, and fed back.
#include <string>

#include "fuzz/FuzzHost.h"
#include "host/SettingsStore.h"
#include "host/Variants.h"
#include "runtime/FileNames.h"

namespace {

const wchar_t* const kSections[] = {L"Workspace", L"Mappings", L"workspace", L"Other"};
const wchar_t* const kKeys[] = {L"InstallPath", L"AppPath", L"Images", L"installpath"};

void fillStore(fuzz::Reader& in, host::Registry& store) {
    if (in.flag()) {
        // A settings file's text.
        const size_t length = static_cast<size_t>(in.byte()) | (static_cast<size_t>(in.byte()) << 8);
        std::string text;
        for (size_t i = 0; i < length && !in.done(); ++i) text += static_cast<char>(in.byte());
        store.parse(text);
    }
    const int values = in.byte() % 8;
    for (int i = 0; i < values; ++i) {
        const uint8_t pick = in.byte();
        const std::wstring section = pick & 0x80 ? in.text(16) : kSections[pick % 4];
        const std::wstring key = pick & 0x40 ? in.text(16) : kKeys[(pick >> 2) % 4];
        // Values longer than the store's fixed buffer come from repeating the text.
        std::wstring value = in.text(64);
        const int repeat = pick & 0x20 ? 1 + in.byte() % 8 : 1;
        std::wstring repeated;
        for (int r = 0; r < repeat; ++r) repeated += value;
        store.set(section, key, repeated);
    }
}

SmartPtr<IString> pathOf(fuzz::Reader& in) {
    const uint8_t pick = in.byte();
    if (pick == 0xFF) return nullptr;
    std::wstring path = in.text(200);
    if (pick & 0x80) path.insert(0, L"[InstallPath]");
    return host::makeString(path);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 16 * 1024) return 0;
    fuzz::HostScope scope;
    fuzz::Reader in(data, size);
    SmartPtr<host::Registry> store = host::make<host::Registry>();
    const bool storePresent = in.byte() != 0x5A;
    fillStore(in, *store.get());
    if (storePresent) scope.components->addObject(L"Registry", static_cast<IRegistry*>(store.get()));

    SmartPtr<IString> previous;
    for (int step = 0; step < 16 && !in.done(); ++step) {
        const uint8_t op = in.byte();
        SmartPtr<IString> path = (op & 0x80) && previous ? previous : pathOf(in);
        SmartPtr<IString> out;
        const int16_t selector = static_cast<int16_t>((op >> 4) & 1);
        switch (op % 8) {
            case 0:
                FILENAMEGetInstallPath(out.put());
                break;
            case 1:
                FILENAMEGetAppPath(out.put());
                break;
            case 2:
                FILENAMEMap(path.get(), out.put(), selector);
                break;
            case 3:
                FILENAMEUnmap(path.get(), out.put());
                break;
            case 4:
                FILENAMECreateRelative(path.get(), out.put(), selector);
                break;
            case 5: {
                SmartPtr<IString> base = pathOf(in);
                FILENAMECreateRelative(base.get(), path.get(), out.put());
                break;
            }
            case 6:
                FILENAMECreateAbsolute(path.get(), out.put(), selector);
                break;
            default: {
                // Absolute from relative, then mapped and unmapped again.
                SmartPtr<IString> relative;
                FILENAMECreateRelative(path.get(), relative.put(), selector);
                SmartPtr<IString> absolute;
                FILENAMECreateAbsolute(relative.get(), absolute.put(), selector);
                SmartPtr<IString> mapped;
                FILENAMEMap(absolute.get(), mapped.put(), 0);
                FILENAMEUnmap(mapped.get(), out.put());
                break;
            }
        }
        if (out) previous = out;
    }
    return 0;
}
