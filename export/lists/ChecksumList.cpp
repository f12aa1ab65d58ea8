#include "export/lists/ChecksumList.h"

#include "core/services/HashService.h"
#include "core/text/UnicodeText.h"
#include "export/saving/AtomicWrite.h"
#include "export/saving/BufferedFileWriter.h"

namespace tallyfold::ChecksumList {

namespace {

constexpr std::string_view kEscaped = "\\\n\r";

void appendEscaped(std::string& text, std::string_view name) {
  for (const char character : name) {
    if (kEscaped.find(character) != std::string_view::npos) text += '\\';
    text += character == '\n' ? 'n' : character == '\r' ? 'r' : character;
  }
}

}  // namespace

bool canHold(Form form, HashAlgorithmSet algorithms) {
  switch (form) {
    case Form::gnu:
      return algorithms.size() == 1 && !algorithms.contains(HashAlgorithm::crc32);
    case Form::bsd:
      return !algorithms.empty();
    case Form::sfv:
      return algorithms == HashAlgorithmSet{HashAlgorithm::crc32};
  }
  return false;
}

Form usualForm(HashAlgorithmSet algorithms) {
  if (canHold(Form::sfv, algorithms)) return Form::sfv;
  return canHold(Form::gnu, algorithms) ? Form::gnu : Form::bsd;
}

std::string proposedName(Form form, HashAlgorithmSet algorithms) {
  if (form == Form::sfv) return "checksums.sfv";
  return algorithms.size() == 1 ? (*algorithms.begin()).listFileName() : "CHECKSUMS";
}

void appendLine(std::string& text, Form form, std::string_view path, HashAlgorithm algorithm, std::string_view digest) {
  if (path == "-") path = "./-";  // What has the other name is the standard input.
  if (form == Form::sfv) {
    text.append(path).append(" ").append(upperCased(digest));
    return;
  }
  if (path.find_first_of(kEscaped) != std::string_view::npos) text += '\\';
  if (form == Form::gnu) {
    text.append(digest).append("  ");
    appendEscaped(text, path);
    return;
  }
  text.append(algorithm.listName()).append(" (");
  appendEscaped(text, path);
  text.append(") = ").append(digest);
}

void write(const std::vector<File>& files, Form form, const std::filesystem::path& destination,
           const std::stop_token& cancellation) {
  writeAtomically(destination, cancellation, [&](FileHandle& list) {
    BufferedFileWriter writer(list);
    std::string lines;
    for (const File& file : files) {
      HashService::checkCancellation(cancellation);
      lines.clear();
      for (const HashAlgorithm algorithm : file.digests.algorithms()) {
        appendLine(lines, form, file.path, algorithm, *file.digests.find(algorithm));
        lines += '\n';
      }
      writer.append(lines);
    }
    writer.flush();
  });
}

}  // namespace tallyfold::ChecksumList
