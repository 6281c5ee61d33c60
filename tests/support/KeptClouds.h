#pragma once

#include <cstdint>
#include <filesystem>

namespace Testing {

/// Largest octree.bin that is kept: the decoder that the kept clouds are for is slow.
inline constexpr std::uintmax_t kLargestKeptCloud = 20'000'000;

/// Copies the brotli octrees in @p folder and below into the folder that the environment variable
/// SORVIK_KEEP_CLOUDS names, where a test that decodes all their nodes finds them; does nothing where it is
/// not set. A copy is named after the program and the content of octree.bin, so that equal clouds are kept
/// once, and appears whole or not at all. What a conversion has left unfinished (".partial") is not kept.
/// @throws std::filesystem::filesystem_error if a cloud cannot be copied.
void keepClouds(const std::filesystem::path& folder);

}  // namespace Testing
