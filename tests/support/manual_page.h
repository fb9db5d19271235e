// The source of a manual page, as far as tests ask it. It is mdoc with few macros,
// which keeps it easily read here too.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace support {

// The lines of a page, or of a part of one.
class manual_page {
 public:
  explicit manual_page(std::filesystem::path const& file);

  // The titles of its sections and subsections, in their order.
  std::vector<std::string> titles() const;

  // The titles of its subsections.
  std::vector<std::string> subsections() const;

  // The section or subsection of that title; empty without one.
  manual_page part(std::string const& title) const;

  // Its examples, as they are read on the screen.
  std::vector<std::string> shown() const;

  // The heads of its lists, without macros' names: "name", "-option arg".
  std::vector<std::string> heads() const;

  // What stands under a head of its lists, as one line of Markdown.
  std::string text_under(std::string const& head) const;

  bool has_line(std::string const& line) const;

 private:
  explicit manual_page(std::vector<std::string> lines) : lines_(std::move(lines)) {}

  std::vector<std::string> lines_;
};

}  // namespace support
