#include "core/Uuid.h"

#include <uuid/uuid.h>

namespace tallyfold {

Uuid Uuid::random() {
  Uuid id;
  uuid_generate_random(id.bytes_.data());
  return id;
}

std::string Uuid::string() const {
  std::array<char, UUID_STR_LEN> text{};
  uuid_unparse_lower(bytes_.data(), text.data());
  return text.data();
}

}  // namespace tallyfold
