#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <span>
#include <string>

struct tf_blake3;

namespace tallyfold {

/// Owns one BLAKE3 context. Copies share it; the last one to go wipes and frees it. Used by one thread at a time.
class BLAKE3Stream {
 public:
  class Error : public std::exception {
   public:
    enum Case { allocationFailed };

    explicit Error(Case value) : value_(value) {}
    [[nodiscard]] Case value() const { return value_; }
    [[nodiscard]] const char* what() const noexcept override;

   private:
    Case value_;
  };

  /// Fails with Error::allocationFailed.
  BLAKE3Stream();

  void update(std::span<const std::byte> bytes);

  /// What a piece of the stream comes to. Pieces can be made in any order, on any threads, and are absorbed in theirs.
  using Piece = std::array<std::uint32_t, 8>;
  static constexpr std::size_t pieceSize = 128 << 10;

  /// The piece with this number, from 0, of a stream that is longer than it and those before. Takes `pieceSize` bytes.
  [[nodiscard]] static Piece piece(std::span<const std::byte> bytes, std::uint64_t number);

  /// Absorbs the next bytes by what they came to. Nothing but pieces was absorbed before, and more bytes follow.
  void update(const Piece& piece);

  /// The digest of everything absorbed so far, as 64 lower-case hexadecimal characters. More may be absorbed after.
  [[nodiscard]] std::string finalize() const;

 private:
  std::shared_ptr<tf_blake3> context_;
};

}  // namespace tallyfold
