#pragma once

#include <array>
#include <filesystem>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "core/digests/DigestMap.h"
#include "core/digests/HashAlgorithm.h"

namespace tallyfold {

/// Checksum lists as other programs read them. Stateless: every operation may run on any number of threads at once.
namespace ChecksumList {

/// `gnu` is what coreutils and b3sum write, "digest  name"; `bsd` what they do after --tag, "SHA256 (name) = digest";
/// `sfv` is "name digest", for CRC-32 alone.
enum class Form { gnu, bsd, sfv };

/// In the order of menus.
constexpr std::array<Form, 3> allForms() { return {Form::gnu, Form::bsd, Form::sfv}; }

/// Whether a list of these algorithms, at least one, can be written so: only tags tell several apart.
bool canHold(Form form, HashAlgorithmSet algorithms);

/// The form that people expect of a list of these algorithms.
Form usualForm(HashAlgorithmSet algorithms);

/// "SHA256SUMS", "B3SUMS"; "CHECKSUMS" for several algorithms; "checksums.sfv".
std::string proposedName(Form form, HashAlgorithmSet algorithms);

/// One file of a list.
struct File {
  std::string path;  ///< Below the folder of the list, in bytes.
  DigestMap digests;
};

/// Appends the line about one digest of a file, without line break. In the forms of coreutils, line breaks and
/// backslashes in the name are escaped as they do it. In `sfv` nothing can be: whoever reads the line tells whether the
/// name came through.
void appendLine(std::string& text, Form form, std::string_view path, HashAlgorithm algorithm, std::string_view digest);

/// Saves a list of all digests of `files`, in their order, as `destination`, whole or not at all: fails as
/// `writeAtomically`, and with CancellationError before any file.
void write(const std::vector<File>& files, Form form, const std::filesystem::path& destination,
           const std::stop_token& cancellation);

}  // namespace ChecksumList

}  // namespace tallyfold
