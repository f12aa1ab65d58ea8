#include "core/blake3/BLAKE3Stream.h"

#include <array>
#include <cstdint>

#include "core/base/HexEncoder.h"
#include "core/blake3/Blake3.h"
#include "core/blake3/Subtree.h"

namespace tallyfold {

const char* BLAKE3Stream::Error::what() const noexcept { return "BLAKE3 could not allocate its hashing context."; }

BLAKE3Stream::BLAKE3Stream() : context_(tf_blake3_create(), tf_blake3_destroy) {
  if (context_ == nullptr) throw Error(Error::allocationFailed);
}

void BLAKE3Stream::update(std::span<const std::byte> bytes) {
  tf_blake3_update(context_.get(), bytes.data(), bytes.size());
}

static_assert(BLAKE3Stream::pieceSize == blake3::kSubtreeSize);

BLAKE3Stream::Piece BLAKE3Stream::piece(std::span<const std::byte> bytes, std::uint64_t number) {
  return blake3::subtree(reinterpret_cast<const std::uint8_t*>(bytes.data()), number);
}

void BLAKE3Stream::update(const Piece& piece) { blake3::absorbSubtree(*context_, piece); }

std::string BLAKE3Stream::finalize() const {
  std::array<std::uint8_t, 32> digest{};
  tf_blake3_finalize(context_.get(), digest.data());
  return HexEncoder::string(std::as_bytes(std::span(digest)));
}

}  // namespace tallyfold
