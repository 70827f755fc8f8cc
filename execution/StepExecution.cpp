#include "execution/StepExecution.h"

#include <mutex>

#include "runtime/Allocation.h"

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

struct WorkerRecord {
    std::atomic<int32_t> references{1};
    pthread_t handle{};
    bool started = false;   // handle names a thread not yet joined or detached
    bool joining = false;   // a caller has claimed the join
    bool finished = false;  // the worker's cleanup has run
    CStopEvent stop;
    // What the worker runs, set before its thread starts.
    CObjectRoot* step = nullptr;
    StepWorker* worker = nullptr;
    StepWorker::Execute execute = nullptr;
};

namespace {

void holdRecord(WorkerRecord* record) { record->references.fetch_add(1, std::memory_order_relaxed); }

void dropRecord(WorkerRecord* record) {
    if (record && record->references.fetch_sub(1, std::memory_order_acq_rel) == 1) deleteObject(record);
}

}  // namespace

StepWorker::~StepWorker() {
    // No worker runs Execute now (it holds a reference until it is done);
    // what may remain is a finished thread to join or, on the worker's own
    // thread, to detach.
    WorkerRecord* record = m_Record;
    m_Record = nullptr;
    if (record) reclaim(record);
    dropRecord(record);
}

HRESULT StepWorker::start(CObjectRoot* step, Execute execute) {
    WorkerRecord* previous = nullptr;
    WorkerRecord* notStarted = nullptr;
    {
        std::lock_guard<Mutex> lock(m_StateMutex);
        if (m_Running.load() == 1) return E_FAIL;
        if (m_Record && !m_Record->finished) return E_FAIL;
        WorkerRecord* record = newObject<WorkerRecord>();
        if (!record) return E_OUTOFMEMORY;
        record->step = step;
        record->worker = this;
        record->execute = execute;
        previous = m_Record;
        m_Record = record;  // the step's reference
        m_Running = 1;
        m_Timer.start();

        step->AddRef();      // the worker's reference on the step
        holdRecord(record);  // and on the record
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_JOINABLE);
        const int created = execution_detail::gStartThread.load()(&record->handle, &attributes, &workerThread, record);
        pthread_attr_destroy(&attributes);
        if (created == 0) {
            // Recorded before the worker can take the lock for its cleanup,
            // so every joiner sees the handle.
            record->started = true;
        } else {
            dropRecord(record);  // the worker's, never taken up
            notStarted = record;
            m_Record = nullptr;
            m_Running = 0;
        }
    }
    if (notStarted) {
        dropRecord(notStarted);
        // The host holds its own reference while it calls TurnOn, so this is
        // never the last one.
        step->Release();
    }
    if (previous) reclaim(previous);
    dropRecord(previous);
    return S_OK;
}

HRESULT StepWorker::stop() {
    WorkerRecord* record = nullptr;
    {
        std::lock_guard<Mutex> lock(m_StateMutex);
        record = m_Record;
        if (!record) return S_OK;
        if (record->finished) {
            m_Record = nullptr;  // its reference is this call's now
        } else {
            holdRecord(record);
            if (!record->stop.isSet()) {
                m_Running = 0;
                m_ExecutionTime = m_Timer.elapsedMilliseconds();
                record->stop.set();
            }
        }
    }
    wake();
    reclaim(record);
    // Another caller (a window's event stopping the step while the host
    // does) may be the one joining: this one, too, returns only when the
    // worker has ended, unless it is the worker itself.
    WorkerRecord* released = nullptr;
    {
        std::lock_guard<Mutex> lock(m_StateMutex);
        if (!pthread_equal(record->handle, pthread_self())) {
            while (!record->finished) m_Ended.wait(m_StateMutex);
        }
        if (m_Record == record && record->finished) {
            released = m_Record;
            m_Record = nullptr;
        }
    }
    dropRecord(released);
    dropRecord(record);
    return S_OK;
}

int32_t StepWorker::isRunning() {
    std::lock_guard<Mutex> lock(m_StateMutex);
    return m_Record && !m_Record->finished ? 1 : 0;
}

HRESULT StepWorker::executionTime(double* out) {
    if (!out) return S_OK;
    std::lock_guard<Mutex> lock(m_StateMutex);
    *out = m_ExecutionTime;
    return S_OK;
}

HRESULT StepWorker::runHere(CObjectRoot* step, Execute execute) {
    {
        std::lock_guard<Mutex> lock(m_StateMutex);
        if (m_Running.load() == 1 || (m_Record && !m_Record->finished)) return E_FAIL;
        m_Timer.start();
    }
    const HRESULT result = execute(step, nullptr);
    std::lock_guard<Mutex> lock(m_StateMutex);
    m_Result = result;
    m_ExecutionTime = m_Timer.elapsedMilliseconds();
    return result;
}

bool StepWorker::waitFor(const CStopEvent* stopEvent, int32_t milliseconds, bool (*done)(const void*),
                         const void* answer) {
    const timespec deadline = Condition::deadlineAfter(milliseconds);
    std::lock_guard<Mutex> lock(m_WaitMutex);
    while (!(stopEvent && stopEvent->isSet()) && !done(answer)) {
        if (!m_Wakeup.waitUntil(m_WaitMutex, deadline)) break;
    }
    return done(answer);
}

void StepWorker::wake() {
    { std::lock_guard<Mutex> lock(m_WaitMutex); }
    m_Wakeup.notifyAll();
}

void StepWorker::updateExecutionTime() {
    std::lock_guard<Mutex> lock(m_StateMutex);
    m_ExecutionTime = m_Timer.elapsedMilliseconds();
}

bool StepWorker::hasThreadRecord() {
    std::lock_guard<Mutex> lock(m_StateMutex);
    return m_Record && !m_Record->finished;
}

HRESULT StepWorker::lastResult() {
    std::lock_guard<Mutex> lock(m_StateMutex);
    return m_Result;
}

void* StepWorker::workerThread(void* argument) {
    WorkerRecord* record = static_cast<WorkerRecord*>(argument);  // with the worker's reference
    CObjectRoot* step = record->step;
    StepWorker* self = record->worker;

    const HRESULT result = record->execute(step, &record->stop);

    step->Lock();
    {
        std::lock_guard<Mutex> lock(self->m_StateMutex);
        record->finished = true;
        self->m_Running = 0;
        self->m_Result = result;
        self->m_ExecutionTime = self->m_Timer.elapsedMilliseconds();
        self->m_Ended.notifyAll();
    }
    step->Unlock();
    dropRecord(record);
    step->Release();  // may end the object, on this thread
    return nullptr;
}

void StepWorker::reclaim(WorkerRecord* record) {
    bool claimed = false;
    {
        std::lock_guard<Mutex> lock(m_StateMutex);
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
