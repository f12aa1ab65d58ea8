#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "core/files/FileHandle.h"

namespace tallyfold {

/// Gathers bytes and hands them to a file in few, large writes. Not thread-safe.
class BufferedFileWriter {
 public:
  /// Bytes from which the buffer is written out.
  static constexpr std::size_t flushThreshold = 262'144;
  /// Storage taken once, so that a piece of up to 4 KiB never makes the buffer grow.
  static constexpr std::size_t bufferReservation = 266'240;

  /// `handle` stays the caller's and must outlive the writer. Bytes that were not flushed are lost with the writer.
  explicit BufferedFileWriter(FileHandle& handle);

  /// Flushes, and may fail as `flush` does, when the buffer then holds `flushThreshold` bytes or more.
  void append(std::string_view bytes);

  /// Writes the whole buffer, even an empty one as nothing, and keeps its storage. After a failure, a std::system_error
  /// of the handle, it is unknown how much of the buffer reached the file.
  void flush();

 private:
  FileHandle& handle_;
  std::string buffer_;
};

}  // namespace tallyfold
