// Edits of files and folders.
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>

#include "edit_kinds.h"

namespace hostile {

namespace fs = std::filesystem;

namespace {

std::string below(lying_recorder const& in, fs::path const& path) {
  return path.lexically_relative(in.recorder().parent_path()).string();
}

std::string volume_name(chooser& choose) { return choose.one_in(2) ? "vol1" : "vol2"; }

// The one that was made, or one that is in the folder now.
std::string unit_in(fs::path const& folder, chooser& choose) {
  std::vector<std::string> names;
  std::error_code ignored;
  if (!fs::is_directory(fs::symlink_status(folder, ignored))) return "unit000001";
  for (auto const& entry : fs::directory_iterator(folder, ignored)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names.empty() ? "unit000001" : choose.of(names);
}

// A place whose parents are real folders still.
bool is_within(lying_recorder const& in, fs::path const& path) {
  std::error_code ignored;
  for (auto parent = path.parent_path(); parent != in.recorder(); parent = parent.parent_path()) {
    if (!fs::is_directory(fs::symlink_status(parent, ignored))) return false;
  }
  return true;
}

fs::path folder_in(lying_recorder const& in, chooser& choose) {
  auto const volume = volume_name(choose);
  std::vector<fs::path> const all{
      in.recorder() / "share", in.recorder() / "share" / volume, in.storage(volume),
      in.preallocate(volume),  in.preallocate(volume),           in.an_hour_folder(volume),
  };
  return choose.of(all);
}

fs::path file_in(lying_recorder const& in, chooser& choose) {
  auto const volume = volume_name(choose);
  auto const preallocate = in.preallocate(volume);
  auto const hour = in.an_hour_folder(volume);
  std::vector<fs::path> const all{
      in.recorder() / "catalogue.db",
      in.recorder() / "catalogue.db-journal",
      in.recorder() / "catalogue.db-journal",
      in.recorder() / "catalogue.db-wal",
      in.recorder() / "catalogue.db-shm",
      in.recorder() / "catalogue.new",
      in.recorder() / "catalogue.new-journal",
      in.recorder() / "share" / volume / "identity",
      preallocate / unit_in(preallocate, choose),
      preallocate / unit_in(preallocate, choose),
      hour / unit_in(hour, choose),
      hour / unit_in(hour, choose),
  };
  return choose.of(all);
}

fs::path anything_in(lying_recorder const& in, chooser& choose) {
  return choose.one_in(2) ? folder_in(in, choose) : file_in(in, choose);
}

void take_away(fs::path const& path) {
  std::error_code ignored;
  fs::remove_all(path, ignored);
}

// What lies at the same place in the victim's recorder, or at another.
fs::path target_of(lying_recorder const& in, fs::path const& path, chooser& choose) {
  auto const same = in.victim() / below(in, path);
  std::vector<fs::path> const all{
      same,
      same,
      same,
      in.victim() / "passwd",
      in.victim() / "big",
      in.victim() / "tree",
      in.victim() / "tree/preallocate",
      in.victim() / "tree/empty",
      in.victim() / "database",
      in.victim() / "new",
      in.victim() / "recorder",
      in.recorder() / "share/vol2",
      in.recorder() / "share/vol1/identity",
      in.recorder() / "catalogue.db",
      "/dev/null",
      "/dev/zero",
      path,
  };
  return choose.of(all);
}

std::string link(lying_recorder& in, chooser& choose) {
  auto const path = anything_in(in, choose);
  auto const target = target_of(in, path, choose);
  if (!is_within(in, path)) return "files: no place for a link";
  take_away(path);
  std::error_code problem;
  fs::create_symlink(target, path, problem);
  return "files: " + below(in, path) + " is a link to " + below(in, target) + ' ' +
         problem.message();
}

std::string second_name(lying_recorder& in, chooser& choose) {
  auto const path = file_in(in, choose);
  std::vector<fs::path> const targets{in.victim() / "passwd", in.victim() / "big",
                                      in.victim() / "database", in.victim() / below(in, path)};
  auto const target = choose.of(targets);
  if (!is_within(in, path)) return "files: no place for a second name";
  take_away(path);
  std::error_code problem;
  fs::create_hard_link(target, path, problem);
  return "files: " + below(in, path) + " is a second name of " + below(in, target) + ' ' +
         problem.message();
}

// A socket's address is short: it is made by its name from within its folder.
void make_socket(fs::path const& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  auto const name = path.filename().string();
  if (name.size() >= sizeof address.sun_path) return;
  std::copy(name.begin(), name.end(), std::begin(address.sun_path));
  auto const before = fs::current_path();
  std::error_code problem;
  fs::current_path(path.parent_path(), problem);
  if (problem) return;
  int const made = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (made >= 0) {
    void const* const any = &address;
    static_cast<void>(::bind(made, static_cast<sockaddr const*>(any), sizeof address));
    ::close(made);
  }
  fs::current_path(before);
}

// Gives what it made.
std::string make_other(fs::path const& path, chooser& choose) {
  std::error_code ignored;
  switch (choose.below(5)) {
    case 0:
    case 1:
      static_cast<void>(::mkfifo(path.c_str(), 0666));
      return "a pipe";
    case 2:
      make_socket(path);
      return "a socket";
    case 3:
      fs::create_directory(path, ignored);
      return "an empty folder";
    default:
      fs::create_directories(path / "a folder", ignored);
      return "a folder";
  }
}

std::string other_kind(lying_recorder& in, chooser& choose) {
  auto const path = anything_in(in, choose);
  if (!is_within(in, path)) return "files: no place for another kind";
  take_away(path);
  return "files: " + below(in, path) + " is " + make_other(path, choose);
}

std::string file_for_folder(lying_recorder& in, chooser& choose) {
  auto const path = folder_in(in, choose);
  if (!is_within(in, path)) return "files: no place for a file";
  take_away(path);
  support::write_file(path, "a file\n");
  return "files: " + below(in, path) + " is a file";
}

std::string missing(lying_recorder& in, chooser& choose) {
  auto const path = anything_in(in, choose);
  if (!is_within(in, path)) return "files: nothing to take away";
  take_away(path);
  return "files: " + below(in, path) + " is gone";
}

std::string forbidden(lying_recorder& in, chooser& choose) {
  auto const path = anything_in(in, choose);
  std::vector<mode_t> const modes{0, 0, 0111, 0444, 0200};
  auto const mode = choose.of(modes);
  std::error_code ignored;
  auto const type = fs::symlink_status(path, ignored).type();
  bool const plain = type == fs::file_type::regular || type == fs::file_type::directory;
  if (!plain || !is_within(in, path)) return "files: nothing to forbid";
  ::chmod(path.c_str(), mode);
  return "files: " + below(in, path) + " has the mode " + std::to_string(mode);
}

std::string odd_names(lying_recorder& in, chooser& choose) {
  auto const path = folder_in(in, choose);
  std::error_code ignored;
  if (!fs::is_directory(fs::symlink_status(path, ignored)) || !is_within(in, path)) {
    return "files: no folder for odd names";
  }
  std::vector<std::string> const names{std::string(255, 'x'),
                                       "\033[2J",
                                       "a\nclean",
                                       "\xff\xfe",
                                       " ",
                                       "-rf",
                                       "unit000000~",
                                       "unit999999",
                                       "FSU_" + std::string(32, '0'),
                                       "ch99_NR_S00_2026112107",
                                       "identity",
                                       "ch01_NR_S00_9999999999",
                                       "..."};
  std::size_t const count = choose.one_in(4) ? 500 : 1 + choose.below(4);
  for (std::size_t i = 0; i < count; ++i) {
    auto const name = choose.of(names).substr(0, 240) + std::to_string(i);
    if (choose.one_in(2)) {
      fs::create_directory(path / name, ignored);
    } else if (!fs::exists(fs::symlink_status(path / name, ignored))) {
      support::write_file(path / name, "odd\n");
    }
  }
  return "files: " + std::to_string(count) + " odd names in " + below(in, path);
}

std::string identity_text(lying_recorder& in, chooser& choose) {
  auto const path = in.recorder() / "share" / volume_name(choose) / "identity";
  std::error_code ignored;
  if (!fs::is_regular_file(fs::symlink_status(path, ignored)) || !is_within(in, path)) {
    return "files: no identity";
  }
  auto const text = hostile_text(in, choose);
  support::write_file(path, text);
  return "files: " + below(in, path) + " holds " + shown(text);
}

std::string odd_trace(lying_recorder& in, chooser& choose) {
  auto const path = in.recorder() / "trace";
  in.extra["STLAB_TRACE"] = path;
  take_away(path);
  return "files: the trace file is " + make_other(path, choose);
}

std::string deep_folders(lying_recorder& in, chooser& choose) {
  auto path = folder_in(in, choose);
  auto const start = path;
  std::error_code problem;
  if (!fs::is_directory(fs::symlink_status(path, problem)) || !is_within(in, path)) {
    return "files: no folder for deep ones";
  }
  for (int i = 0; i < 12; ++i) path /= std::string(200, 'd');
  fs::create_directories(path, problem);
  return "files: deep folders in " + below(in, start);
}

}  // namespace

std::vector<edit> const& file_edits() {
  static std::vector<edit> const all{
      link,          link,        link,
      link,          second_name, other_kind,
      other_kind,    other_kind,  file_for_folder,
      missing,       forbidden,   odd_names,
      identity_text, odd_trace,   deep_folders,
  };
  return all;
}

}  // namespace hostile
