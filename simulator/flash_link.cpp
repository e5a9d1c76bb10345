// Tokens with their faults, the record of what came when, and the bytes of a field.

#include "simulator/flash_link.h"

#include "platform/base/clock.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace simulator {

namespace {

constexpr std::uint8_t StrayByte = 0x7E;
constexpr Clock::duration SplitDelay = std::chrono::milliseconds(50);
constexpr std::size_t SampleSize = 8;

long long Nanoseconds(Clock::time_point time) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
}

} // namespace

LinkRecord::LinkRecord(const std::string& logFile, const std::string& timesFile)
    : log_(Open(logFile)), times_(Open(timesFile)) {}

LinkRecord::File LinkRecord::Open(const std::string& name) {
    File file(name.empty() ? nullptr : std::fopen(name.c_str(), "wbe"), std::fclose);
    if (!name.empty() && !file)
        FailOn("open", name);
    return file;
}

void LinkRecord::LogBytes(std::span<const std::uint8_t> bytes) {
    if (!log_)
        return;
    std::fwrite(bytes.data(), 1, bytes.size(), log_.get());
    std::fflush(log_.get());
}

void LinkRecord::LogToken(const std::string& step, Clock::time_point sent) {
    if (!times_)
        return;
    std::fprintf(times_.get(), "token %s %lld\n", step.c_str(), Nanoseconds(sent));
    std::fflush(times_.get());
}

void LinkRecord::LogArrival(const std::string& what, Clock::time_point first,
                            Clock::time_point last) {
    if (!times_)
        return;
    std::fprintf(times_.get(), "%s %lld %lld\n", what.c_str(), Nanoseconds(first),
                 Nanoseconds(last));
    std::fflush(times_.get());
}

void TokenSender::Send(SerialEnd& end, const std::string& step, Bytes token) {
    if (silent_)
        return;
    if (parts_.faults.silentAt == step) {
        silent_ = true;
        parts_.report.Print("fault: silent at " + step);
    } else if (parts_.faults.lateAt == step) {
        parts_.report.Print("fault: late at " + step);
        lateToken_ = parts_.loop.After(
            platform::HostDuration(parts_.faults.lateMilliseconds),
            [this, &end, step, token = std::move(token)] { SendNow(end, step, token); });
    } else {
        SendNow(end, step, std::move(token));
    }
}

void TokenSender::SendNow(SerialEnd& end, const std::string& step, Bytes token) {
    const auto stamp = [this, step](Clock::time_point sent) { parts_.record.LogToken(step, sent); };
    if (parts_.faults.deafAt == step)
        PauseReceiving(end, step);
    if (parts_.faults.strayAt == step) {
        parts_.report.Print("fault: stray byte at " + step);
        token.insert(token.begin(), StrayByte);
    }
    if (parts_.faults.burstAt == step) {
        parts_.report.Print("fault: burst at " + step);
        const Bytes once = token;
        token.insert(token.end(), once.begin(), once.end());
    }
    if (parts_.faults.splitAt == step && token.size() > 1) {
        parts_.report.Print("fault: split at " + step);
        end.Send({token.begin(), token.end() - 1}, stamp);
        const auto& time = parts_.faults.splitMilliseconds;
        lateToken_ = parts_.loop.After(time ? platform::HostDuration(*time) : SplitDelay,
                                       [&end, last = token.back()] { end.Send({last}); });
        return;
    }
    end.Send(std::move(token), stamp);
}

void TokenSender::PauseReceiving(SerialEnd& end, const std::string& step) {
    parts_.report.Print("fault: deaf at " + step);
    end.PauseReceiving();
    endOfPause_ =
        parts_.loop.After(platform::HostDuration(parts_.faults.deafMilliseconds), [this, &end] {
            end.ResumeReceiving();
            parts_.report.Print("fault: deaf no more");
        });
}

void Collector::Expect(std::size_t size) {
    bytes_.clear();
    bytes_.reserve(size);
    size_ = size;
}

void Collector::Collect(Burst& burst) {
    const std::size_t count = std::min(size_ - bytes_.size(), burst.bytes.size());
    if (count == 0)
        return;
    if (bytes_.empty())
        first_ = burst.begin;
    last_ = burst.end;
    bytes_.insert(bytes_.end(), burst.bytes.begin(),
                  burst.bytes.begin() + static_cast<std::ptrdiff_t>(count));
    burst.bytes = burst.bytes.subspan(count);
}

std::uint32_t Collector::Number(std::size_t offset) const {
    std::uint32_t value = 0;
    for (std::size_t at = 4; at-- > 0;)
        value = value << 8 | bytes_.at(offset + at);
    return value;
}

std::string Sample(std::span<const std::uint8_t> bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes.first(std::min(bytes.size(), SampleSize)))
        text += (text.empty() ? "" : " ") + Hex(byte);
    if (bytes.size() > SampleSize)
        text += " and " + std::to_string(bytes.size() - SampleSize) + " more";
    return text;
}

} // namespace simulator
