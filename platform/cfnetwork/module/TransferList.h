// Knows every transfer that may have handles of libcurl, so that they can be given back at exit.
#pragma once

#include <mutex>
#include <vector>

namespace tvplatform {

class CurlTransfer;

// Any thread may use the list. It is never destroyed.
class TransferList {
public:
    static TransferList& Only() {
        static TransferList& list = *new TransferList;
        return list;
    }

    void Add(CurlTransfer& transfer);
    void Remove(CurlTransfer& transfer);
    // CancelAll and Forget are for the thread that keeps the gate (CurlGate.h) closed.
    void CancelAll();
    void Forget() { transfers_.clear(); }

private:
    std::mutex lock_;
    std::vector<CurlTransfer*> transfers_;
};

}  // namespace tvplatform
