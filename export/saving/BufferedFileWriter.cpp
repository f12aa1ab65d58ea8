#include "export/saving/BufferedFileWriter.h"

#include <span>

namespace tallyfold {

BufferedFileWriter::BufferedFileWriter(FileHandle& handle) : handle_(handle) { buffer_.reserve(bufferReservation); }

void BufferedFileWriter::append(std::string_view bytes) {
  buffer_.append(bytes);
  if (buffer_.size() >= flushThreshold) flush();
}

void BufferedFileWriter::flush() {
  handle_.write(std::as_bytes(std::span(buffer_)));
  buffer_.clear();
}

}  // namespace tallyfold
