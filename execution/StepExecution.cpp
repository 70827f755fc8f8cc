#include "execution/StepExecution.h"

#include <cerrno>
#include <new>

namespace execution_detail {
std::atomic<ThreadStarter> gStartThread{&pthread_create};
}  // namespace execution_detail

timeval CTimer::now() {
    timespec clock;
    clock_gettime(CLOCK_MONOTONIC, &clock);
    timeval result;
    result.tv_sec = clock.tv_sec;
    result.tv_usec = static_cast<suseconds_t>(clock.tv_nsec / 1000);
    return result;
}

struct StepWorker::ThreadRecord {
    pthread_t handle{};
    bool started = false;   // handle names a thread not yet joined or detached
    bool joining = false;   // a caller has claimed the join
    bool finished = false;  // the worker's cleanup has run
    CStopEvent stop;
};

struct StepWorker::WorkerStart {
    CObjectRoot* step;
    StepWorker* worker;
    Execute execute;
    Record record;
};

StepWorker::~StepWorker() {
    // No worker runs Execute now (it holds a reference until it is done);
    // what may remain is a finished thread to join or, on the worker's own
    // thread, to detach.
    Record record = std::move(m_Record);
    if (record) reclaim(record);
}

HRESULT StepWorker::start(CObjectRoot* step, Execute execute) {
    Record previous;
    Record record;
    bool workerNotStarted = false;
    {
        std::lock_guard<std::mutex> lock(m_StateMutex);
        if (m_Running.load() == 1) return E_FAIL;
        if (m_Record && !m_Record->finished) return E_FAIL;
        record = std::shared_ptr<ThreadRecord>(new (std::nothrow) ThreadRecord);
        if (!record) return E_OUTOFMEMORY;
        previous = std::move(m_Record);
        m_Record = record;
        m_Running = 1;
        m_Timer.Start();

        step->AddRef();  // the worker's reference
        auto* begin = new (std::nothrow) WorkerStart{step, this, execute, record};
        int created = ENOMEM;
        if (begin) {
            pthread_attr_t attributes;
            pthread_attr_init(&attributes);
            pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_JOINABLE);
            created = execution_detail::gStartThread.load()(&record->handle, &attributes, &workerThread, begin);
            pthread_attr_destroy(&attributes);
        }
        if (created == 0) {
            // Recorded before the worker can take the lock for its cleanup,
            // so every joiner sees the handle.
            record->started = true;
        } else {
            delete begin;
            m_Record.reset();
            m_Running = 0;
            workerNotStarted = true;
        }
    }
    // The host holds its own reference while it calls TurnOn, so this is
    // never the last one.
    if (workerNotStarted) step->Release();
    if (previous) reclaim(previous);
    return S_OK;
}

HRESULT StepWorker::stop() {
    Record record;
    {
        std::lock_guard<std::mutex> lock(m_StateMutex);
        record = m_Record;
        if (!record) return S_OK;
        if (record->finished) {
            m_Record.reset();
        } else if (!record->stop.IsSet()) {
            m_Running = 0;
            m_ExecutionTime = m_Timer.ElapsedMilliseconds();
            record->stop.Set();
        }
    }
    wake();
    reclaim(record);
    // Another caller (a window's event stopping the step while the host
    // does) may be the one joining: this one, too, returns only when the
    // worker has ended, unless it is the worker itself.
    std::unique_lock<std::mutex> lock(m_StateMutex);
    if (!pthread_equal(record->handle, pthread_self())) m_Ended.wait(lock, [&] { return record->finished; });
    if (m_Record == record && record->finished) m_Record.reset();
    return S_OK;
}

int32_t StepWorker::isRunning() {
    std::lock_guard<std::mutex> lock(m_StateMutex);
    return m_Record && !m_Record->finished ? 1 : 0;
}

HRESULT StepWorker::executionTime(double* out) {
    if (!out) return S_OK;
    std::lock_guard<std::mutex> lock(m_StateMutex);
    *out = m_ExecutionTime;
    return S_OK;
}

HRESULT StepWorker::runHere(CObjectRoot* step, Execute execute) {
    {
        std::lock_guard<std::mutex> lock(m_StateMutex);
        if (m_Running.load() == 1 || (m_Record && !m_Record->finished)) return E_FAIL;
        m_Timer.Start();
    }
    const HRESULT result = execute(step, nullptr);
    std::lock_guard<std::mutex> lock(m_StateMutex);
    m_Result = result;
    m_ExecutionTime = m_Timer.ElapsedMilliseconds();
    return result;
}

void StepWorker::wake() {
    { std::lock_guard<std::mutex> lock(m_WaitMutex); }
    m_Wakeup.notify_all();
}

void StepWorker::updateExecutionTime() {
    std::lock_guard<std::mutex> lock(m_StateMutex);
    m_ExecutionTime = m_Timer.ElapsedMilliseconds();
}

bool StepWorker::hasThreadRecord() {
    std::lock_guard<std::mutex> lock(m_StateMutex);
    return m_Record && !m_Record->finished;
}

HRESULT StepWorker::lastResult() {
    std::lock_guard<std::mutex> lock(m_StateMutex);
    return m_Result;
}

void* StepWorker::workerThread(void* argument) {
    std::unique_ptr<WorkerStart> begin(static_cast<WorkerStart*>(argument));
    CObjectRoot* step = begin->step;
    StepWorker* self = begin->worker;
    Record record = std::move(begin->record);
    const Execute execute = begin->execute;
    begin.reset();

    const HRESULT result = execute(step, &record->stop);

    step->Lock();
    {
        std::lock_guard<std::mutex> lock(self->m_StateMutex);
        record->finished = true;
        self->m_Running = 0;
        self->m_Result = result;
        self->m_ExecutionTime = self->m_Timer.ElapsedMilliseconds();
        self->m_Ended.notify_all();
    }
    step->Unlock();
    record.reset();
    step->Release();  // may end the object, on this thread
    return nullptr;
}

void StepWorker::reclaim(const Record& record) {
    bool claimed = false;
    {
        std::lock_guard<std::mutex> lock(m_StateMutex);
        if (record->started && !record->joining) {
            record->joining = true;
            claimed = true;
        }
    }
    if (!claimed) return;
    if (pthread_equal(record->handle, pthread_self())) {
        pthread_detach(record->handle);
    } else {
        pthread_join(record->handle, nullptr);
    }
}
