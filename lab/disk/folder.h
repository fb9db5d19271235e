// Open folders, and looking at what is in them.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace lab {

// Owns a file descriptor.
class descriptor {
 public:
  explicit descriptor(int number) noexcept : number_(number) {}
  ~descriptor();
  descriptor(descriptor&& other) noexcept;
  descriptor& operator=(descriptor&& other) noexcept;

  int number() const { return number_; }

  // Gives the descriptor up to the caller.
  int release() noexcept;

 private:
  int number_;
};

// A folder that is held open: what is done in it is done in the same folder
// wherever it is moved or mounted over. Only the folder that a user named is
// opened by its path; what lies in it is opened name by name, and no link is
// followed then.
class folder {
 public:
  // What is only passed needs no permission to read, and can be neither listed
  // nor synced.
  enum class use { read, pass };

  // Throws lab::error when there is no such folder or it cannot be opened so.
  explicit folder(std::filesystem::path path, use how = use::read);

  // The folder `name` in `parent`. Throws lab::error when there is none, or a
  // link or a file in its place.
  folder(folder const& parent, std::string const& name, use how = use::read);

  // The same; none when there is none, or something else in its place.
  static std::optional<folder> find(folder const& parent, std::string const& name,
                                    use how = use::read);

  // The folder at a relative path in this one, an empty one for itself.
  folder below(std::filesystem::path const& relative) const;

  // For messages.
  std::filesystem::path const& path() const { return path_; }
  int number() const { return descriptor_.number(); }

  // The names in it, sorted.
  std::vector<std::string> names() const;

  // What `name` in it is, symbolic links not followed; none when absent.
  std::optional<struct stat> status(std::string const& name) const;

 private:
  folder(std::filesystem::path path, descriptor opened);

  std::filesystem::path path_;
  descriptor descriptor_;
};

// Gives `name` back. Throws lab::error unless it can be the name of something in
// a folder: not empty, no path, neither "." nor "..".
std::string const& entry_name(std::string const& name);

// Throws lab::error with the text "<path>: <what>: <text of errno>".
[[noreturn]] void fail_with_errno(std::filesystem::path const& path, char const* what);

}  // namespace lab
