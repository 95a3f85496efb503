// How a read is ended before its time.
#include "mac/MacThread.h"
#include "mac/MacThreadedWebReader.h"
#include "mac/MacThreadedWebReaderManager.h"
#include "text/CFRef.h"

// A reference for as long as an operation takes.
class MacThreadedWebReader::Reference {
public:
    explicit Reference(MacThreadedWebReader& reader) : reader_(reader) { reader_.Retain(); }
    ~Reference() { reader_.Release(); }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;

private:
    MacThreadedWebReader& reader_;
};

void MacThreadedWebReader::AbortRead() {
    Abort(reads_);
}

void MacThreadedWebReader::Abort(ReadNumber read) {
    const MacThread::CancellationOff untilAborted;
    const Reference reference(*this);
    DropStream(read);
    StopWorker(read);
    // An abort that overtook StartRead found no stream at first.
    DropStream(read);
}

void MacThreadedWebReader::DropStream(ReadNumber read) {
    const Tova::CFRef<CFReadStreamRef> stream(CopyStream(read));
    if (!stream) {
        return;
    }
    CFReadStreamSetClient(stream.Get(), kCFStreamEventNone, nullptr, nullptr);
    {
        const MacThreadLockHolder hold(runLoopLock_);
        if (runLoop_ != nullptr) {
            CFReadStreamUnscheduleFromRunLoop(stream.Get(), runLoop_, kCFRunLoopCommonModes);
        }
    }
    CFReadStreamClose(stream.Get());
    const MacThreadLockHolder hold(streamLock_);
    if (stream_ == stream.Get()) {
        CFRelease(stream_);
        stream_ = nullptr;
    }
}

// Every wait also ends with the worker, because another abort may have come first and an exception
// may end the worker. Nothing is left to do then.
void MacThreadedWebReader::StopWorker(ReadNumber read) {
    if (!IsWorkerOf(read)) {
        return;
    }
    if (OfThisWorker() == this) {
        abortedByWorker_ = true;
        AskWorkerToStop(read);
        if (MacThreadedWebReaderManager::sSingleton.IsExiting()) {
            // The callback that this worker runs ends the process and does not return. A thread
            // that waited for the worker would wait for ever.
            const MacThreadLockHolder hold(runLoopLock_);
            progress_.Update([&](int&) { runLoop_ = nullptr; });
        }
        return;
    }
    progress_.WaitUntil([&](int progress) { return !IsWorkerOf(read) || progress != cStarting; });
    AskWorkerToStop(read);
    progress_.WaitUntil([&](int) { return !IsWorkerOf(read); });
    progress_.Update([&](int& progress) {
        if (reads_ == read && progress == cFinished) {
            progress = cIdle;
        }
    });
}

void MacThreadedWebReader::AskWorkerToStop(ReadNumber read) {
    progress_.Update([&](int& progress) {
        if (IsWorkerOf(read) && progress > cIdle && progress < cStopping) {
            progress = cStopping;
        }
    });
    CFRunLoopSourceSignal(wakeSource_);
    const MacThreadLockHolder hold(runLoopLock_);
    if (runLoop_ != nullptr && CFRunLoopIsWaiting(runLoop_)) {
        CFRunLoopWakeUp(runLoop_);
    }
}
