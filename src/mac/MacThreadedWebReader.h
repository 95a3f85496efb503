// Makes one HTTP GET at a time on a thread of its own. Readers are counted and belong to the
// manager, and Create is the only way to make one. Any thread may call anything, also from the
// callback. A thread that is cancelled finishes the call first. docs/web-reader.md tells how the
// threads meet.
#pragma once

#include "mac/MacThreadCondition.h"
#include "mac/MacThreadLock.h"

#include <CFNetwork/CFNetwork.h>
#include <CoreFoundation/CoreFoundation.h>

#include <atomic>
#include <cstdint>

class MacThreadedWebReader {
public:
    // Called on the worker thread, with no lock held, for the events "has bytes available" (2),
    // "error" (8) and "end" (16) of the stream. It may read from the stream. If it returns false,
    // the read ends. If it returns true, the read goes on, and after the end or an error it waits
    // for the caller's AbortRead.
    using Callback = bool (*)(CFReadStreamRef stream, unsigned long event, void* context);

    // Returns a new reader with one reference, which the caller gives back with Release.
    static MacThreadedWebReader* Create();

    void Retain();
    // Destroys the reader with its last reference. Workers and aborts that are under way hold
    // references too. Returns 0.
    int Release();
    int GetRefCount() const;

    // Returns the stream's status (CFStreamStatus) while there is a stream. Otherwise it tells how
    // the last read ended: 0 none yet, 6 closed, 7 error, 2 cut short by AbortRead. A read that is
    // aborted before it is open leaves what was. Deliberate: a reader whose state stays 2 starts no
    // further read. The class is defined so.
    int GetState() const;

    // Starts to fetch `url`, whose percent escapes are decoded and made anew: an escaped "&" or "+"
    // in a query arrives unescaped. A null `userAgent` sends none; a null callback ends the read
    // with its first event. `context` must live until the read has ended; AbortRead waits for that.
    // The call waits for the worker to begin, and never for the network. It returns:
    //   0   started, or failed to open (GetState is then not 2, and no event comes)
    //   -1  a read is under way, its worker has not ended yet, or the process is exiting
    //   -2  no URL; nothing has changed
    //   -3  the address cannot be requested
    // Deliberate: if no thread can be made, the call waits for the worker for ever. The class is
    // defined so. A cancellation ends that wait.
    int StartRead(CFStringRef url, CFStringRef userAgent, Callback callback, void* context);
    // Does the same, but waits for no thread: the read may begin after the call. If no thread can
    // be made, it returns the error number of pthread_create, and the reader is free.
    int TryStartRead(CFStringRef url, CFStringRef userAgent, Callback callback, void* context);

    // Returns the address that StartRead would request, in the form in which it goes out, or null
    // if it cannot be requested. The caller owns it. Sends nothing.
    static CFURLRef CreateRequestUrl(CFStringRef url);

    // Ends the read under way, if there is one, and waits until its worker is gone, so until a
    // running callback has returned. It does not wait for a worker that has not begun yet, which
    // then runs no callback. On the worker's own thread it does not wait: the worker then
    // ends when the callback returns. If several threads call it, it returns on each.
    void AbortRead();

    // The handshake between caller, worker and abort (docs/web-reader.md).
    int GetProgress() const { return progress_.State(); }
    int32_t GetSerialNumber() const { return serialNumber_; }

private:
    friend class MacThreadedWebReaderManager;
    // Numbers the reads of a reader, from 1.
    using ReadNumber = uint64_t;

    MacThreadedWebReader();
    ~MacThreadedWebReader();
    MacThreadedWebReader(const MacThreadedWebReader&) = delete;
    MacThreadedWebReader& operator=(const MacThreadedWebReader&) = delete;

    static void ReadStreamProc(CFReadStreamRef stream, CFStreamEventType event, void* info);
    static void* ThreadProc(void* reader);
    static void* TerminateThreadProc(void* reader);
    static void TerminateThreadPerform(void* info);

    // How far a read has come; what each value means stands in docs/web-reader.md.
    enum Progress {
        cIdle = 0,
        cStarting = 1,
        cWorkerStarted = 2,
        cReading = 5,
        cStopping = 8,
        cFinished = 9,
    };

    class Claim;
    class WorkerEnd;
    // A reference for as long as an operation takes.
    class Reference {
    public:
        explicit Reference(MacThreadedWebReader& reader) : reader_(reader) { reader_.Retain(); }
        ~Reference() { reader_.Release(); }
        Reference(const Reference&) = delete;
        Reference& operator=(const Reference&) = delete;

    private:
        MacThreadedWebReader& reader_;
    };

    int Begin(CFStringRef url, CFStringRef userAgent, Callback callback, void* context,
              ReadNumber& read);
    bool ClaimRead();
    void GiveUpClaim();
    int StartWorker(Claim& claim);
    void AwaitWorker(ReadNumber read);
    void SetStream(CFReadStreamRef stream);
    CFReadStreamRef CopyStream(ReadNumber read) const;

    void Work();
    bool OpenStream();
    void EndWorker(bool ranLoop);
    void StartTerminateThread();

    // Returns the reader whose worker the calling thread is, or null.
    static MacThreadedWebReader* OfThisWorker();
    void Abort(ReadNumber read);
    void DropStream(ReadNumber read);
    void StopWorker(ReadNumber read);
    void AskWorkerToStop(ReadNumber read);
    void ForgetWorker();
    // In a forked child, in which no other thread is.
    void LoseThreads();
    // Under the condition's mutex.
    bool IsClaimedBy(ReadNumber read) const { return busy_ && reads_ == read; }
    bool IsWorkerOf(ReadNumber read) const { return runLoop_ != nullptr && reads_ == read; }

    static std::atomic<int32_t> sSerialNumber;

    const int32_t serialNumber_;
    std::atomic<int32_t> state_{0};
    mutable MacThreadLock streamLock_{false};
    CFReadStreamRef stream_ = nullptr;
    Callback callback_ = nullptr;
    void* context_ = nullptr;
    MacThreadCondition progress_{0};
    MacThreadLock runLoopLock_{false};
    // Null again under the lock and the condition's mutex, when the worker is gone.
    std::atomic<CFRunLoopRef> runLoop_{nullptr};
    CFRunLoopSourceRef wakeSource_ = nullptr;

    // The next two change under the condition's mutex: a read is being started or its worker lives;
    // the last read that was started.
    std::atomic<bool> busy_{false};
    std::atomic<ReadNumber> reads_{0};
    // The read that the last terminate thread was started for.
    std::atomic<ReadNumber> readToEnd_{0};
    // The worker was asked to stop by its own callback, so it completes that abort. Its thread
    // only.
    bool abortedByWorker_ = false;
};
