// The error codes that a handheld gives, with the values that Microsoft publishes.
#pragma once

#include <cstdint>

namespace simulator::error {

constexpr std::uint32_t Success = 0;
constexpr std::uint32_t FileNotFound = 2;
constexpr std::uint32_t PathNotFound = 3;
constexpr std::uint32_t AccessDenied = 5;
constexpr std::uint32_t InvalidHandle = 6;
constexpr std::uint32_t OutOfMemory = 14;
constexpr std::uint32_t NoMoreFiles = 18;
constexpr std::uint32_t WriteFault = 29;
constexpr std::uint32_t SharingViolation = 32;
constexpr std::uint32_t FileExists = 80;
constexpr std::uint32_t InvalidParameter = 87;
constexpr std::uint32_t InvalidName = 123;
constexpr std::uint32_t DirectoryNotEmpty = 145;
constexpr std::uint32_t AlreadyExists = 183;
constexpr std::uint32_t BadProgram = 193;
constexpr std::uint32_t MoreData = 234;
constexpr std::uint32_t NoMoreItems = 259;

} // namespace simulator::error
