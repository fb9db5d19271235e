#include "lab/client/source.h"

#include <cstdlib>
#include <system_error>

namespace lab::client {

std::filesystem::path const& starting_folder() {
  static std::filesystem::path const folder = [] {
    std::error_code gone;
    return std::filesystem::current_path(gone);
  }();
  return folder;
}

std::filesystem::path recorder_folder() {
  char const* const named = std::getenv("STLAB_RECORDER");
  bool const is_named = named != nullptr && *named != '\0';
  return starting_folder() / (is_named ? named : default_recorder_folder);
}

recorder open_writer() { return recorder::open(recorder_folder(), access::read_write); }

std::shared_ptr<recorder const> source::reader() {
  if (!reader_) {
    reader_ =
        std::make_shared<recorder const>(recorder::open(recorder_folder(), access::read_only));
  }
  return reader_;
}

}  // namespace lab::client
