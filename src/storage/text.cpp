#include "storage/text.h"

#include <algorithm>

namespace st {

void copy_text(char* destination, std::size_t size, std::string_view text) noexcept {
  if (size == 0) return;
  std::size_t const length = std::min(text.size(), size - 1);
  std::copy_n(text.data(), length, destination);
  destination[length] = '\0';
}

void share_name_from_path(std::string_view path, char* destination, std::size_t size) noexcept {
  constexpr std::string_view mark = "share/";
  std::size_t const found = path.find(mark);
  if (found == std::string_view::npos) return;
  copy_text(destination, size, path.substr(found + mark.size()));
}

}  // namespace st
