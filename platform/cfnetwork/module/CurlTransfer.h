// One GET on libcurl's multi interface, driven from outside through descriptors and a time-out.
#pragma once

#include "cfnetwork/HttpTransfer.h"

#include <curl/curl.h>

#include <atomic>
#include <mutex>

namespace tvplatform {

class CurlTransfer;

// Every transfer that may have handles of libcurl. Any thread. Never destroyed.
class TransferList {
public:
    static TransferList& Only() {
        static TransferList& list = *new TransferList;
        return list;
    }

    void Add(CurlTransfer& transfer);
    void Remove(CurlTransfer& transfer);
    // The next two are for whoever keeps the gate (CurlGate.h) closed.
    void CancelAll();
    void Forget() { transfers_.clear(); }

private:
    std::mutex lock_;
    std::vector<CurlTransfer*> transfers_;
};

class CurlTransfer final : public HttpTransfer {
public:
    explicit CurlTransfer(const HttpRequest& request) : request_(request) {}
    ~CurlTransfer() override;

    // Once, before anything else. False without memory and when the process exits.
    bool Start();
    // Cancel for whoever has passed the gate, or keeps it closed.
    void CancelInside();

    void Prepare(PollSet& set) override;
    void Step(std::span<const pollfd> polled) override;
    DriverState State() const override;
    size_t Read(unsigned char* buffer, size_t size) override;
    void Cancel() override;
    std::string Header() const override;
    std::string FinalUrl() const override;

private:
    static size_t OnBody(char* bytes, size_t size, size_t count, void* self);
    static size_t OnHeader(char* bytes, size_t size, size_t count, void* self);
    static int OnSocket(CURL* easy, curl_socket_t socket, int what, void* self, void* perSocket);
    static int OnTimer(CURLM* multi, long milliseconds, void* self);

    bool SetOptions();
    void SetTrust();
    void SetSocket(curl_socket_t socket, int what);
    size_t TakeBody(std::string_view bytes);
    bool TakeHeaderLine(std::string_view line);
    bool TakeStatusLine();
    void CompleteHeader();
    void MarkOpened();
    Clock::time_point IdleDeadline() const;
    void Advance(std::span<const pollfd> polled);
    void TakeResult();
    void Finish(CURLcode result);
    void FreeHandles();

    const HttpRequest request_;

    // Guards the handles and all that the library's callbacks touch; held while libcurl runs.
    std::mutex curlLock_;
    CURL* easy_ = nullptr;
    CURLM* multi_ = nullptr;
    curl_slist* headerList_ = nullptr;
    std::vector<pollfd> sockets_;
    Clock::time_point timer_ = Clock::time_point::max();
    Clock::time_point lastByte_{};
    bool paused_ = false;
    size_t headerBytes_ = 0;
    std::string headerSoFar_;
    bool hasLocation_ = false;
    // The next header line is the first of an answer.
    bool nextIsFirst_ = true;

    // The reader has made room again.
    std::atomic<bool> resume_{false};

    // Guards what follows; taken last and never held while libcurl runs, so that a reader does not
    // wait for it.
    mutable std::mutex dataLock_;
    DriverState state_;
    std::string header_;
    std::string finalUrl_;
    std::string unread_;
    size_t unreadStart_ = 0;
};

}  // namespace tvplatform
