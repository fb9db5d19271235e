#include "lab/client/trace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "lab/client/source.h"
#include "lab/util/text.h"

namespace lab::client {

namespace {

std::string escaped(char byte) {
  constexpr char digits[] = "0123456789abcdef";
  auto const value = static_cast<unsigned char>(byte);
  return std::string("\\u00") + digits[value >> 4U] + digits[value & 0xfU];
}

std::string quoted(std::string_view text) {
  std::string written = "\"";
  while (!text.empty()) {
    char const first = text.front();
    std::size_t const length = utf8_length(text);
    if (first == '"' || first == '\\') {
      written += '\\';
      written += first;
    } else if (length == 0 || static_cast<unsigned char>(first) < 0x20) {
      written += escaped(first);
    } else {
      written += text.substr(0, length);
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return written + '"';
}

// Asked before anything is opened, as opening a device can do something, and
// again of what was opened.
bool is_plain(struct stat const& status) { return S_ISREG(status.st_mode) && status.st_nlink == 1; }

bool may_be_written(std::filesystem::path const& file) {
  struct stat status {};
  return ::lstat(file.c_str(), &status) != 0 || is_plain(status);
}

bool is_plain(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 && is_plain(status);
}

void append(std::filesystem::path const& file, std::string const& line) {
  if (!may_be_written(file)) return;
  int const descriptor =
      ::open(file.c_str(),
             O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0644);
  if (descriptor < 0) return;
  if (is_plain(descriptor)) {
    [[maybe_unused]] ssize_t const written = ::write(descriptor, line.data(), line.size());
  }
  ::close(descriptor);
}

}  // namespace

json::json(std::string_view text) : text_(quoted(text)) {}

json::json(char const* text) : text_(text == nullptr ? "null" : quoted(text)) {}

json json::array(std::vector<json> const& elements) {
  json made;
  for (json const& element : elements) {
    made.text_ += (made.text_.empty() ? "" : ",") + element.text_;
  }
  made.text_ = '[' + made.text_ + ']';
  return made;
}

json json::object(std::initializer_list<std::pair<char const*, json>> members) {
  json made;
  for (auto const& [name, value] : members) {
    made.text_ += (made.text_.empty() ? "" : ",") + quoted(name) + ':' + value.text_;
  }
  made.text_ = '{' + made.text_ + '}';
  return made;
}

void trace(char const* operation, json const& arguments, json const& result) {
  // Also without a trace: the first call of all fixes the starting folder.
  std::filesystem::path const& start = starting_folder();
  char const* const file = std::getenv("STLAB_TRACE");
  if (file == nullptr || *file == '\0') return;
  append(start / file, json::array({operation, arguments, result}).text() + '\n');
}

}  // namespace lab::client
