// Reads, writes and waits that are outstanding on a port, and the queue of what has arrived.
//
// An event is latched when its byte comes in, whether or not somebody waits, and stays until a wait
// has reported it: a byte that comes between a read and the next wait must not be missed. The price
// is that a wait may report a byte that has been read since, as on Windows.

#include "platform/ports/port_requests.h"

#include <commapi.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace platform {

void PortRequests::AddRead(OverlappedCall call, std::span<std::uint8_t> target, bool atOnce) {
    reads_.push_back({std::move(call), target, atOnce});
    ServeReads();
}

void PortRequests::AddWrite(OverlappedCall call, std::span<const std::uint8_t> source) {
    writes_.push_back({std::move(call), source});
    ServeWrites();
}

void PortRequests::SetMask(DWORD events) {
    if (wait_)
        EndWait(0);
    mask_ = events;
    history_ &= mask_;
}

void PortRequests::AddWait(OverlappedCall call, DWORD* events) {
    wait_.emplace(Wait{std::move(call), events});
    ServeWait();
}

void PortRequests::AddInput(std::span<const std::uint8_t> bytes) {
    if (bytes.empty())
        return;
    input_.insert(input_.end(), bytes.begin(), bytes.end());
    history_ |= mask_ & EV_RXCHAR;
    ServeReads();
    ServeWait();
}

std::size_t PortRequests::OutputSize() const {
    std::size_t size = 0;
    for (const Write& write : writes_)
        size += write.source.size() - write.done;
    return size;
}

std::span<const std::uint8_t> PortRequests::NextOutput() const {
    return writes_.front().source.subspan(writes_.front().done);
}

void PortRequests::MarkSent(std::size_t count) {
    writes_.front().done += count;
    ServeWrites();
}

void PortRequests::EndAll(DWORD error) {
    EndWhere([](const OverlappedCall&) { return true; }, error);
}

void PortRequests::EndOfThread(DWORD thread, DWORD error) {
    EndWhere([=](const OverlappedCall& call) { return call.IsOfThread(thread); }, error);
}

void PortRequests::EndOfRecord(const OVERLAPPED* record, DWORD error) {
    EndWhere([=](const OverlappedCall& call) { return call.HasRecord(record); }, error);
}

void PortRequests::FillFirstRead() {
    Read& read = reads_.front();
    const std::size_t count = std::min(input_.size(), read.target.size() - read.done);
    const auto end = input_.begin() + static_cast<std::ptrdiff_t>(count);
    std::copy(input_.begin(), end, read.target.begin() + static_cast<std::ptrdiff_t>(read.done));
    input_.erase(input_.begin(), end);
    read.done += count;
}

void PortRequests::ServeReads() {
    while (!reads_.empty()) {
        FillFirstRead();
        Read& read = reads_.front();
        if (!read.atOnce && read.done < read.target.size())
            return;
        read.call.Complete(ERROR_SUCCESS, static_cast<DWORD>(read.done));
        reads_.pop_front();
    }
}

void PortRequests::ServeWrites() {
    while (!writes_.empty() && writes_.front().done == writes_.front().source.size()) {
        Write& write = writes_.front();
        write.call.Complete(ERROR_SUCCESS, static_cast<DWORD>(write.done));
        writes_.pop_front();
    }
}

void PortRequests::ServeWait() {
    if (wait_ && history_ != 0)
        EndWait(std::exchange(history_, 0));
}

void PortRequests::EndWait(DWORD events) {
    *wait_->events = events;
    wait_->call.Complete(ERROR_SUCCESS, sizeof(DWORD));
    wait_.reset();
}

template <class Condition>
void PortRequests::EndWhere(Condition condition, DWORD error) {
    const auto endThose = [&](auto& requests) {
        std::erase_if(requests, [&](auto& request) {
            const bool ends = condition(request.call);
            if (ends)
                request.call.Complete(error, static_cast<DWORD>(request.done));
            return ends;
        });
    };
    endThose(reads_);
    endThose(writes_);
    if (wait_ && condition(wait_->call)) {
        wait_->call.Complete(error, 0);
        wait_.reset();
    }
    ServeReads();
    ServeWrites();
}

} // namespace platform
