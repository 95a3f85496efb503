// The worker and the threads that end a read on behalf of its callback.
#include "mac/MacThread.h"
#include "mac/MacThreadedWebReader.h"
#include "mac/MacThreadedWebReaderManager.h"
#include "text/CFRef.h"
#include "text/CatchAll.h"

namespace {

constexpr CFTimeInterval cLongestPass = 10.0;

// The reader whose worker the calling thread is.
thread_local MacThreadedWebReader* tWorkerOf = nullptr;

}  // namespace

MacThreadedWebReader* MacThreadedWebReader::OfThisWorker() {
    return tWorkerOf;
}

// Takes the worker's reference over, tells the waiters and gives it back, whether the loop, an
// exception or the thread's cancellation ends the worker.
class MacThreadedWebReader::WorkerEnd {
public:
    explicit WorkerEnd(MacThreadedWebReader& reader) : reader_(reader) { tWorkerOf = &reader_; }
    ~WorkerEnd() {
        tWorkerOf = nullptr;
        reader_.EndWorker(ranLoop_);
        reader_.Release();
        MacThreadedWebReaderManager::sSingleton.ThreadHasEnded();
    }
    WorkerEnd(const WorkerEnd&) = delete;
    WorkerEnd& operator=(const WorkerEnd&) = delete;

    void SetRanLoop() { ranLoop_ = true; }

private:
    MacThreadedWebReader& reader_;
    bool ranLoop_ = false;
};

void* MacThreadedWebReader::ThreadProc(void* reader) {
    auto* self = static_cast<MacThreadedWebReader*>(reader);
    WorkerEnd end(*self);
    Tova::CatchAll([&] {
        if (self->OpenStream()) {
            self->Work();
            end.SetRanLoop();
        }
    });
    return nullptr;
}

// The worker's first half, up to the end of the handshake.
bool MacThreadedWebReader::OpenStream() {
    abortedByWorker_ = false;
    const CFRunLoopRef loop = CFRunLoopGetCurrent();
    {
        const MacThreadLockHolder hold(runLoopLock_);
        runLoop_ = loop;
    }
    const Tova::CFRef<CFReadStreamRef> stream(CopyStream(reads_));
    bool opened = false;
    // An abort may have taken the stream already, and the process may be about to end.
    if (stream && !MacThreadedWebReaderManager::sSingleton.IsExiting()) {
        CFReadStreamScheduleWithRunLoop(stream.Get(), loop, kCFRunLoopCommonModes);
        opened = CFReadStreamOpen(stream.Get());
    }
    if (opened) {
        CFRunLoopAddSource(loop, wakeSource_, kCFRunLoopCommonModes);
        state_ = kCFStreamStatusOpen;
    }
    progress_.Update([=](int& progress) { progress = opened ? cReading : cIdle; });
    return opened;
}

void MacThreadedWebReader::Work() {
    while (progress_.State() < cStopping) {
        const SInt32 result = CFRunLoopRunInMode(kCFRunLoopDefaultMode, cLongestPass, true);
        if (result != kCFRunLoopRunTimedOut && result != kCFRunLoopRunHandledSource) {
            return;
        }
    }
}

// A worker that an exception ended does not report that it has finished.
void MacThreadedWebReader::EndWorker(bool ranLoop) {
    const MacThreadLockHolder hold(runLoopLock_);
    progress_.Update([&](int& progress) {
        if (ranLoop) {
            progress = abortedByWorker_ ? cIdle : cFinished;
        } else if (progress == cStarting) {
            progress = cIdle;
        }
        runLoop_ = nullptr;
        busy_ = false;
    });
}

void MacThreadedWebReader::ReadStreamProc(CFReadStreamRef stream, CFStreamEventType event,
                                          void* info) {
    auto* self = static_cast<MacThreadedWebReader*>(info);
    // An abort may release the stream while the callback uses it.
    const Tova::CFRef<CFReadStreamRef> held(
        static_cast<CFReadStreamRef>(const_cast<void*>(CFRetain(stream))));
    // The state is set first, because the callback may leave by an exception.
    if (event == kCFStreamEventEndEncountered) {
        self->state_ = kCFStreamStatusClosed;
    } else if (event == kCFStreamEventErrorOccurred) {
        self->state_ = kCFStreamStatusError;
    }
    if (self->callback_ != nullptr && self->callback_(stream, event, self->context_)) {
        return;
    }
    if (event == kCFStreamEventHasBytesAvailable) {
        self->state_ = kCFStreamStatusClosed;
    }
    self->StartTerminateThread();
}

// An abort waits for the worker, so it runs on a thread of its own, one for all refusals of a read.
// That thread may come late, when the caller has aborted too and started the next read: it is told
// which read is meant.
void MacThreadedWebReader::StartTerminateThread() {
    const ReadNumber read = reads_;
    if (readToEnd_.exchange(read) == read) {
        return;
    }
    Retain();
    if (MacThreadedWebReaderManager::sSingleton.StartThread(TerminateThreadProc, this) != 0) {
        Release();
        Abort(read);
    }
}

void* MacThreadedWebReader::TerminateThreadProc(void* reader) {
    auto* self = static_cast<MacThreadedWebReader*>(reader);
    Tova::CatchAll([&] { self->Abort(self->readToEnd_); });
    self->Release();
    MacThreadedWebReaderManager::sSingleton.ThreadHasEnded();
    return nullptr;
}

void MacThreadedWebReader::TerminateThreadPerform(void*) {}
