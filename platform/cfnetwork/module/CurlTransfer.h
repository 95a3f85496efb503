// One GET on libcurl's multi interface, driven from outside through descriptors and a time-out.
#pragma once

#include "cfnetwork/HttpTransfer.h"

#include <curl/curl.h>

#include <atomic>
#include <mutex>

namespace tvplatform {

class CurlTransfer final : public HttpTransfer {
public:
    explicit CurlTransfer(const HttpRequest& request) : request_(request) {}
    ~CurlTransfer() override;

    // It is called once, before anything else. Returns false if there is no memory or the process
    // exits.
    bool Start();
    // Cancels, for a thread that has passed the gate or keeps it closed.
    void CancelInside();

    void Prepare(PollSet& set) override;
    void Step(std::span<const pollfd> polled) override;
    DriverState State() const override;
    size_t Read(unsigned char* buffer, size_t size) override;
    void Cancel() override;
    int Status() const override;

private:
    static curl_socket_t OpenSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
    static int CloseSocket(void* self, curl_socket_t socket);
    static size_t OnBody(char* bytes, size_t size, size_t count, void* self);
    static size_t OnHeader(char* bytes, size_t size, size_t count, void* self);
    static int OnSocket(CURL* easy, curl_socket_t socket, int what, void* self, void* perSocket);
    static int OnTimer(CURLM* multi, long milliseconds, void* self);

    bool SetOptions();
    void KeepNothing();
    void SetTrust();
    void SetSocket(curl_socket_t socket, int what);
    size_t TakeBody(std::string_view bytes);
    bool TakeHeaderLine(std::string_view line);
    bool TakeStatusLine();
    void CompleteHeader();
    bool IsRunning() const { return easy_ != nullptr && !State().ended; }
    Clock::time_point IdleDeadline() const;
    CURLMcode Advance(std::span<const pollfd> polled);
    void TakeResult();
    void Finish(CURLcode result);
    void FreeHandles();

    const HttpRequest request_;

    // Guards the handles and all that the library's callbacks touch. It is held while libcurl runs.
    std::mutex curlLock_;
    CURL* easy_ = nullptr;
    CURLM* multi_ = nullptr;
    curl_slist* headerList_ = nullptr;
    std::vector<pollfd> sockets_;
    Clock::time_point timer_ = Clock::time_point::max();
    Clock::time_point lastByte_{};
    int openSockets_ = 0;
    bool paused_ = false;
    size_t headerBytes_ = 0;
    bool hasLocation_ = false;
    // Tells whether the next header line is the first of an answer.
    bool nextIsFirst_ = true;

    // The reader has made room again.
    std::atomic<bool> resume_{false};

    // Guards what follows. It is taken last and never held while libcurl runs, so that a reader
    // does not wait for libcurl.
    mutable std::mutex dataLock_;
    DriverState state_;
    int status_ = 0;
    std::string unread_;
    size_t unreadStart_ = 0;
};

}  // namespace tvplatform
