// How a read is ended before its time.
#include "mac/MacThread.h"
#include "mac/MacThreadedWebReader.h"
#include "text/CFRef.h"

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

// The callback that the worker runs ends the process and does not return. Nobody waits for that
// worker any more.
void MacThreadedWebReader::ForgetWorker() {
    const MacThreadLockHolder hold(runLoopLock_);
    progress_.Update([&](int&) { runLoop_ = nullptr; });
}
