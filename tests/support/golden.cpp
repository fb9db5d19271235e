#include "golden.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "files.h"

namespace support {

void session::tell(std::string const& command, std::string const& printed) {
  text_ += "$ " + command + "\n";
  bool const is_long = std::count(printed.begin(), printed.end(), '\n') > 1;
  auto const before = printed_.find(command);
  if (is_long && before != printed_.end() && before->second == printed) {
    text_ += "(as before)\n";
  } else if (is_long && last_ == printed) {
    text_ += "(the same)\n";
  } else {
    text_ += printed;
  }
  last_ = printed_[command] = printed;
}

void expect_golden(std::filesystem::path const& file, std::string const& text) {
  if (std::getenv("ACCEPT") != nullptr) {
    write_file(file, text);
    FAIL() << "accepted as " << file << "; look at it and run again without ACCEPT";
  }
  EXPECT_EQ(text, content_of(file));
}

}  // namespace support
