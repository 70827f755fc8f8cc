// What every fuzz target shares: the stand-in host installed for one input
// and checked afterwards (every host object released, else abort: a leak is a
// finding like a crash), and a reader that turns the input bytes into the
// numbers, flags and wide texts a target needs.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "host/ClassFactory.h"
#include "host/Components.h"
#include "host/HostObject.h"
#include "module/Flukokzad.h"
#include "module/Registry.h"
#include "runtime/ComponentAccess.h"
#include "runtime/PropertyNames.h"
#include "runtime/SmartPtr.h"

namespace fuzz {

// The registered name of the module's class at index (0 to kModuleClassCount - 1).
inline std::wstring className(int index) {
    const tagREFString* name = gModuleClasses[index]->name;
    return std::wstring(name->text, static_cast<size_t>(name->count));
}

// A new step of the class at index, made through CreateFunction as a host makes it.
inline SmartPtr<IUnknown> createStep(int index) {
    CREATEFUNCTION creator = nullptr;
    if (CreateFunction(*gModuleClasses[index]->name, &creator) != S_OK || !creator) return nullptr;
    SmartPtr<IUnknown> step;
    creator(nullptr, &IID_IUnknown, step.put_void());
    return step;
}

// The standard components given to the module for the scope of one input;
// on leaving, the module lets go of them and the ledger must be back where
// it was.
class HostScope {
public:
    HostScope() : m_LiveAtStart(host::Ledger::live()) {
        host::Recorder::setEnabled(false);
        host::setObjectResolver(host::moduleResolver(CreateFunction));
        components = host::makeStandardComponents();
        InitializeModule(nullptr, components.get());
    }
    ~HostScope() {
        InitializeModule(nullptr, nullptr);
        if (components) components->clear();
        components = nullptr;
        PROPReleaseStringTable();
        MODULEReleaseComponents();
        host::setObjectResolver(nullptr);
        const int32_t live = host::Ledger::live();
        if (live != m_LiveAtStart) {
            std::fprintf(stderr, "fuzz: %d host objects still live after the input (%d before): %s\n", live,
                         m_LiveAtStart, host::Ledger::report().c_str());
            std::abort();
        }
    }
    HostScope(const HostScope&) = delete;
    HostScope& operator=(const HostScope&) = delete;

    SmartPtr<host::ComponentCollection> components;

private:
    int32_t m_LiveAtStart;
};

// Reads the input front to back; past its end every read gives zeros and
// empty texts, so a target never has to check.
class Reader {
public:
    Reader(const uint8_t* data, size_t size) : m_Data(data), m_Size(size) {}

    bool done() const { return m_At >= m_Size; }
    size_t left() const { return m_Size - m_At; }

    uint8_t byte() { return m_At < m_Size ? m_Data[m_At++] : 0; }
    bool flag() { return (byte() & 1) != 0; }
    int16_t int16() { return static_cast<int16_t>(byte() | (byte() << 8)); }
    int32_t int32() {
        uint32_t value = 0;
        for (int i = 0; i < 4; ++i) value |= static_cast<uint32_t>(byte()) << (8 * i);
        return static_cast<int32_t>(value);
    }
    double real() {
        uint64_t bits = 0;
        for (int i = 0; i < 8; ++i) bits |= static_cast<uint64_t>(byte()) << (8 * i);
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    // A wide text: a length byte, then characters: a byte below 0x80 is that
    // character; a higher one takes the next byte for a 15-bit code, and 0xFF
    // a further two for any 32-bit code (surrogates, values past Unicode).
    std::wstring text(size_t longest = 255) {
        const size_t length = std::min<size_t>(byte(), longest);
        std::wstring out;
        for (size_t i = 0; i < length && !done(); ++i) out += character();
        return out;
    }
    wchar_t character() {
        const uint8_t first = byte();
        if (first < 0x80) return static_cast<wchar_t>(first);
        if (first == 0xFF) return static_cast<wchar_t>(static_cast<uint32_t>(int32()));
        return static_cast<wchar_t>(((first & 0x7F) << 8) | byte());
    }
    // The rest of the input, as bytes.
    std::string rest() {
        std::string out(reinterpret_cast<const char*>(m_Data + m_At), m_Size - m_At);
        m_At = m_Size;
        return out;
    }

private:
    const uint8_t* m_Data;
    size_t m_Size;
    size_t m_At = 0;
};

}  // namespace fuzz
