#include "tools/packfile/ZlibStream.h"

#include <zlib.h>

#include <algorithm>
#include <new>

namespace vx {
namespace {

constexpr u64 kPieceBytes = 64 * 1024;

// A z_stream set up for inflating, for as long as this lives.
struct SInflater {
  SInflater() {
    if (inflateInit(&z) != Z_OK) throw std::bad_alloc();
  }
  ~SInflater() { inflateEnd(&z); }
  SInflater(const SInflater&) = delete;
  SInflater& operator=(const SInflater&) = delete;

  z_stream z = {};
};

std::string Mismatch(const std::string& found, const std::string& expected) {
  return "found " + found + ", expected " + expected;
}

}  // namespace

std::vector<u8> DeflateBytes(std::span<const u8> plain) {
  static constexpr u8 kNoBytes[1] = {};
  uLongf packedBytes = compressBound(plain.size());
  std::vector<u8> packed(packedBytes);
  const u8* from = plain.empty() ? kNoBytes : plain.data();
  if (compress2(packed.data(), &packedBytes, from, plain.size(), Z_BEST_COMPRESSION) != Z_OK) {
    throw std::bad_alloc();
  }
  packed.resize(packedBytes);
  return packed;
}

std::string InflateStored(const CByteSource& source, u64 offset, u64 storedBytes, u64 expectedBytes,
                          const TakeBytes& take) {
  const std::string expected = std::to_string(expectedBytes) + " bytes of data from " +
                               std::to_string(storedBytes) + " stored bytes";
  SInflater inflater;
  z_stream& z = inflater.z;
  std::vector<u8> input(static_cast<std::size_t>(std::min(storedBytes, kPieceBytes)));
  std::vector<u8> output(static_cast<std::size_t>(kPieceBytes));
  u64 consumedBytes = 0;  // handed to zlib
  u64 producedBytes = 0;
  int result = Z_OK;
  while (result != Z_STREAM_END) {
    if (z.avail_in == 0) {
      if (consumedBytes == storedBytes) {
        return Mismatch("a zlib stream that is cut off after " + std::to_string(producedBytes) +
                            " bytes of data",
                        expected);
      }
      const u64 pieceBytes = std::min(storedBytes - consumedBytes, kPieceBytes);
      const std::span<u8> piece(input.data(), static_cast<std::size_t>(pieceBytes));
      source.Read(offset + consumedBytes, piece);
      consumedBytes += pieceBytes;
      z.next_in = piece.data();
      z.avail_in = static_cast<uInt>(piece.size());
    }
    z.next_out = output.data();
    z.avail_out = static_cast<uInt>(output.size());
    result = inflate(&z, Z_NO_FLUSH);
    if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
      const char* reason = z.msg ? z.msg : "it needs a dictionary";
      return Mismatch("a damaged zlib stream (" + std::string(reason) + ")", expected);
    }
    const u64 madeBytes = output.size() - z.avail_out;
    if (madeBytes > expectedBytes - producedBytes) {
      return Mismatch("a zlib stream that holds more data", expected);
    }
    producedBytes += madeBytes;
    take({output.data(), static_cast<std::size_t>(madeBytes)});
  }
  const u64 streamBytes = consumedBytes - z.avail_in;
  if (streamBytes != storedBytes || producedBytes != expectedBytes) {
    return Mismatch(std::to_string(producedBytes) + " bytes of data from a zlib stream of " +
                        std::to_string(streamBytes) + " bytes",
                    expected);
  }
  return {};
}

}  // namespace vx
