#include "host/HostObject.h"

#include <cstdio>
#include <map>
#include <mutex>

#include "runtime/TextEncoding.h"

namespace host {

namespace {

// Trivially destructible counters and a never-freed map, so that objects that
// a module releases while the process exits can still check out.
std::atomic<int32_t> gLiveObjects{0};
std::atomic<bool> gRecording{true};

// Counts are never freed, so that objects that a module releases while the
// process exits can still check out.
struct LedgerTable {
    std::mutex mutex;
    Ledger::Count* first = nullptr;
};
LedgerTable& ledgerTable() {
    static LedgerTable* table = new LedgerTable;
    return *table;
}

std::atomic<int> gCause{0};
thread_local int tThreadCause = 0;

struct RecorderLog {
    std::mutex mutex;
    std::vector<Recorder::Entry> calls;
};
RecorderLog& recorderLog() {
    static RecorderLog* log = new RecorderLog;
    return *log;
}

}  // namespace

Ledger::Count& Ledger::countOf(const char* type) {
    LedgerTable& table = ledgerTable();
    std::lock_guard<std::mutex> lock(table.mutex);
    Count* count = new Count;
    count->type = type;
    count->next = table.first;
    table.first = count;
    return *count;
}

void Ledger::add(Count& count) {
    ++gLiveObjects;
    ++count.live;
}

void Ledger::remove(Count& count) {
    --gLiveObjects;
    --count.live;
}

int32_t Ledger::live() { return gLiveObjects.load(); }

std::string Ledger::report() {
    LedgerTable& table = ledgerTable();
    std::lock_guard<std::mutex> lock(table.mutex);
    std::map<std::string, int32_t> byName;
    for (const Count* count = table.first; count; count = count->next) byName[count->type] += count->live.load();
    std::string text;
    for (const auto& [type, count] : byName) {
        if (count == 0) continue;
        if (!text.empty()) text += ", ";
        text += type + ": " + std::to_string(count);
    }
    return text;
}

void Recorder::record(const std::string& call) {
    const int caused = cause();
    const auto now = std::chrono::steady_clock::now();
    RecorderLog& log = recorderLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.calls.push_back({caused, call, now});
}

std::vector<Recorder::Entry> Recorder::takeEntries() {
    RecorderLog& log = recorderLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    std::vector<Entry> calls;
    calls.swap(log.calls);
    return calls;
}

std::vector<std::string> Recorder::take() {
    std::vector<std::string> calls;
    for (Entry& entry : takeEntries()) calls.push_back(std::move(entry.call));
    return calls;
}

std::vector<std::string> Recorder::calls() {
    RecorderLog& log = recorderLog();
    std::lock_guard<std::mutex> lock(log.mutex);
    std::vector<std::string> calls;
    for (const Entry& entry : log.calls) calls.push_back(entry.call);
    return calls;
}

void Recorder::setCause(int step) { gCause.store(step); }
void Recorder::setThreadCause(int step) { tThreadCause = step; }
int Recorder::cause() { return tThreadCause != 0 ? tThreadCause : gCause.load(); }

void Recorder::clear() { take(); }
void Recorder::setEnabled(bool enabled) { gRecording = enabled; }
bool Recorder::enabled() { return gRecording.load(std::memory_order_relaxed); }

std::wstring textOf(IString* string) {
    if (!string) return {};
    const wchar_t* text = nullptr;
    int32_t length = 0;
    if (FAILED(string->get_Text(&text, &length)) || !text || length <= 0) return {};
    return std::wstring(text, static_cast<size_t>(length));
}

std::wstring textOf(const tagREFString& text) {
    if (!text.text || text.count <= 0) return {};
    return std::wstring(text.text, static_cast<size_t>(text.count));
}

std::string narrow(const std::wstring& text) {
    const int32_t count = static_cast<int32_t>(text.size());
    std::string result(encodeUtf8(text.data(), count, nullptr, 0) + 1, '\0');
    result.resize(encodeUtf8(text.data(), count, &result[0], result.size()));
    return result;
}

std::wstring widen(const std::string& text) {
    std::wstring result;
    for (size_t i = 0; i < text.size();) {
        const unsigned char lead = static_cast<unsigned char>(text[i]);
        int extra = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
        uint32_t code = extra == 0 ? lead : lead & (0x3F >> extra);
        ++i;
        for (; extra > 0 && i < text.size(); --extra, ++i) {
            code = (code << 6) | (static_cast<unsigned char>(text[i]) & 0x3F);
        }
        result += static_cast<wchar_t>(code);
    }
    return result;
}

std::string hex(int32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%X", static_cast<uint32_t>(value));
    return text;
}

}  // namespace host
