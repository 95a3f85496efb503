#include "cfnetwork/module/TransferList.h"

#include "cfnetwork/module/CurlTransfer.h"

namespace tvplatform {

void TransferList::Add(CurlTransfer& transfer) {
    const std::lock_guard guard(lock_);
    transfers_.push_back(&transfer);
}

void TransferList::Remove(CurlTransfer& transfer) {
    const std::lock_guard guard(lock_);
    std::erase(transfers_, &transfer);
}

void TransferList::CancelAll() {
    const std::lock_guard guard(lock_);
    for (CurlTransfer* transfer : transfers_) {
        transfer->CancelInside();
    }
}

}  // namespace tvplatform
