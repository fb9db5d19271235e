// Folders and files of a test's own.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace support {

enum class medium { disk, memory };

// A new folder in the system's folder for temporary files, or in memory when
// that is asked for and there is room: syncing costs nothing there. Goes with
// all that is in it; when the test has failed meanwhile, it stays and is named
// on standard error.
class temporary_folder {
 public:
  explicit temporary_folder(medium where = medium::disk);
  ~temporary_folder();
  temporary_folder(temporary_folder const&) = delete;
  temporary_folder& operator=(temporary_folder const&) = delete;

  // Without a link in it.
  std::filesystem::path const& path() const { return path_; }
  // Makes a folder below this one, parents included; gives its full path.
  std::string make(std::string const& below) const;

 private:
  std::filesystem::path path_;
  bool had_failed_;
};

// These throw std::runtime_error when they cannot.
std::string content_of(std::filesystem::path const& file);
void write_file(std::filesystem::path const& file, std::string const& content);

// Writes something of its own into every unit below a folder, behind the head of
// its recording.
void mark_units(std::filesystem::path const& folder);

// The lines of a text, without their ends.
std::vector<std::string> lines_of(std::string const& text);

// The names in a folder, sorted; none when it is absent.
std::vector<std::string> names_in(std::filesystem::path const& folder);

// The text with '_' for every character but letters and digits: a part of a
// test's name.
std::string as_name(std::string text);

bool holds(std::string const& text, std::string const& part);
bool begins_with(std::string const& text, std::string const& beginning);
bool ends_with(std::string const& text, std::string const& ending);

}  // namespace support
