// The program's resources: what the resource compiler made of its script, embedded by the build
// between two symbols, in the published format of 32-bit resource files (.res).
#pragma once

#include <windef.h>

#include <cstdint>
#include <optional>
#include <span>

namespace platform {

constexpr std::uint16_t BitmapResource = 2;
constexpr std::uint16_t DialogResource = 5;
constexpr std::uint16_t StringResource = 6;
constexpr std::uint16_t IconGroupResource = 14;

// A type of this layer's own, by the first number that is free for programs: the SVG source of the
// bitmap of the same id, drawn for the same size. A desktop with finer pixels shows it instead.
constexpr std::uint16_t VectorPictureResource = 256;

// Resources to use in place of the embedded ones: the bytes of a .res file, which stay the
// caller's and must outlive every use. Not while another thread looks for resources.
void UseResources(const void* begin, const void* end);

// The data of a resource by type and numeric id. None: there is no such resource, or the file is
// cut off before it ends.
std::optional<std::span<const std::uint8_t>> FindResourceData(std::uint16_t type, std::uint16_t id);

// The data of the first resource of a type, as they are in the file.
std::optional<std::span<const std::uint8_t>> FirstResourceData(std::uint16_t type);

// The same by a name of MAKEINTRESOURCEA; sets the last error. Names that are texts are not found.
std::optional<std::span<const std::uint8_t>> FindNamedResource(std::uint16_t type, LPCSTR name);

} // namespace platform
