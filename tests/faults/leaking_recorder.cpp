#include "leaking_recorder.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <sstream>
#include <system_error>

#include "lab/catalogue/sqlite.h"
#include "lab/check/check.h"
#include "lab/disk/folder.h"
#include "lab/make/make.h"
#include "lab/volume/layout.h"

namespace fault_support {

namespace {

constexpr std::int64_t megabyte = std::int64_t{1024} * 1024;

void must(bool holds, fs::path const& path) {
  if (!holds) throw std::system_error(errno, std::generic_category(), path.string());
}

struct stat status_of(fs::path const& path) {
  struct stat found {};
  must(lstat(path.c_str(), &found) == 0, path);
  return found;
}

// As many of the bytes as are not zeros at their end, in whole steps where there are many.
std::size_t length_without_zeros(std::string_view bytes) {
  static std::string const zeros(4096, '\0');
  while (bytes.size() >= zeros.size() &&
         bytes.compare(bytes.size() - zeros.size(), zeros.size(), zeros) == 0) {
    bytes.remove_suffix(zeros.size());
  }
  auto const last = bytes.find_last_not_of('\0');
  return last == std::string_view::npos ? 0 : last + 1;
}

std::string content_of(fs::path const& path) {
  std::string content;
  for (auto const& [start, bytes] : support::data_of(path)) {
    // Zeros that were written are no other content than those that were not.
    auto const length = length_without_zeros(bytes);
    if (length > 0) content += std::to_string(start) + ":" + bytes.substr(0, length);
  }
  return content;
}

bool is_journal(fs::path const& file) { return file.extension() == ".db-journal"; }

// Sorted, so that two walks over the same tree go the same way.
std::vector<fs::path> all_below(fs::path const& folder) {
  std::vector<fs::path> found;
  for (auto const& entry : fs::recursive_directory_iterator(folder)) found.push_back(entry.path());
  std::sort(found.begin(), found.end());
  return found;
}

bool is_cold_journal(fs::path const& file, std::string const& content) {
  bool const has_start = content.size() > 2 && content.compare(0, 2, "0:") == 0;
  return is_journal(file) && !(has_start && content[2] != '\0');
}

lab::database read_catalogue(fs::path const& recorder) {
  return {recorder / "catalogue.db", lab::database::mode::read_only, std::chrono::milliseconds(0)};
}

std::vector<std::string> rows_of(lab::database const& catalogue, std::string const& query,
                                 int columns) {
  lab::statement rows(catalogue, query);
  std::vector<std::string> found;
  while (rows.next()) {
    std::string row;
    for (int column = 0; column < columns; ++column) row += rows.text(column) + " ";
    found.push_back(row);
  }
  return found;
}

std::string joined(std::vector<std::string> const& texts) {
  std::string all;
  for (auto const& text : texts) all += text + "; ";
  return all;
}

struct unit {
  std::string name;
  std::string state;
  std::string hour_folder;
};

std::vector<unit> units_of(lab::database const& catalogue, std::int64_t volume_id) {
  lab::statement rows(catalogue,
                      "SELECT u.name, u.state, c.number, u.recording_type, u.stream, u.hour_ms"
                      "  FROM unit u LEFT JOIN channel c ON c.id = u.channel_id"
                      "  WHERE u.volume_id = ? ORDER BY u.id");
  rows.with(volume_id);
  std::vector<unit> found;
  while (rows.next()) {
    found.push_back({rows.text(0), rows.text(1),
                     lab::hour_folder_name(rows.integer32(2), rows.integer32(3), rows.integer32(4),
                                           rows.integer(5))});
  }
  return found;
}

std::set<std::string> allowed_folders(unit const& of) {
  if (of.state == "free") return {"preallocate"};
  if (of.state == "recorded") return {of.hour_folder};
  if (of.state == "bad") return {};
  return {"preallocate", of.hour_folder};
}

// The folders of a volume's storage in which each name is.
std::map<std::string, std::vector<std::string>> places_in(fs::path const& storage) {
  std::map<std::string, std::vector<std::string>> places;
  for (auto const& path : all_below(storage)) {
    if (fs::is_directory(path)) continue;
    places[path.filename()].push_back(path.parent_path().filename());
  }
  return places;
}

fs::path storage_of(lab::volume const& of) {
  return lab::storage_folder(of.path.string(), of.sid_text);
}

// What is missing of a volume by the sizes that st goes by.
std::int64_t missing_mb(lab::volume const& of) {
  std::int64_t blocks = 0;
  for (auto const& file : all_below(storage_of(of) / "preallocate")) {
    blocks += std::int64_t{status_of(file).st_blocks};
  }
  return of.total_mb - of.used_mb - blocks * 512 / megabyte;
}

std::vector<std::string> misplaced(fs::path const& recorder, lab::volume const& in) {
  auto const catalogue = read_catalogue(recorder);
  auto places = places_in(storage_of(in));
  std::vector<std::string> problems;
  for (auto const& each : units_of(catalogue, in.id)) {
    auto const allowed = allowed_folders(each);
    auto const found = places[each.name];
    bool const right = std::all_of(found.begin(), found.end(),
                                   [&](auto const& place) { return allowed.count(place) != 0; });
    bool const moving = allowed.size() == 2;
    if (!right || found.empty() || (!moving && found.size() != 1)) {
      problems.push_back(in.name + ": " + each.name + " (" + each.state + ") is in " +
                         (found.empty() ? "no folder" : joined(found)));
    }
    places.erase(each.name);
  }
  for (auto const& unknown : places) problems.push_back("unknown file " + unknown.first);
  return problems;
}

std::vector<std::string> wrong_sums(lab::recorder const& in, lab::volume const& of) {
  auto const account = in.account(of.id);
  std::vector<std::string> problems;
  auto const all = account.held + account.moving + account.preallocated + account.lost;
  std::int64_t const files = static_cast<std::int64_t>(
      std::distance(fs::directory_iterator(storage_of(of) / "preallocate"), {}));
  if (account.total != all) problems.push_back(of.name + ": units do not add up");
  if (account.moving != 0) problems.push_back(of.name + ": units are still in transit");
  if (of.used_mb != account.held) problems.push_back(of.name + ": used size is not what is held");
  if (files != account.preallocated) problems.push_back(of.name + ": preallocated units differ");
  if (missing_mb(of) != account.lost) problems.push_back(of.name + ": lost size differs");
  return problems;
}

bool is_leak_of(origin const& before, lab::volume const& in, std::string const& line) {
  if (line.find(" is recorded without a period") == std::string::npos) return false;
  auto const volume = in.path.filename().string();
  if (line.find(volume) == std::string::npos) return false;
  return std::any_of(before.leaked.begin(), before.leaked.end(), [&](std::string const& leaked) {
    auto const slash = leaked.find('/');
    return leaked.substr(0, slash) == volume &&
           line.find(leaked.substr(slash + 1)) != std::string::npos;
  });
}

void append(std::vector<std::string>& to, std::vector<std::string> const& more) {
  to.insert(to.end(), more.begin(), more.end());
}

std::map<std::string, std::string> other_streams_in(fs::path const& recorder) {
  std::map<std::string, std::string> found;
  for (auto const& path : all_below(recorder / "share")) {
    auto const folder = path.parent_path().filename().string();
    bool const other = folder.compare(0, 2, "ch") == 0 && folder.find(main_stream_folders) != 0;
    if (!fs::is_directory(path) && other) {
      found[path.lexically_relative(recorder)] =
          std::to_string(status_of(path).st_size) + " " + content_of(path);
    }
  }
  return found;
}

void leak(lab::recorder& in, std::int64_t volume_id, std::int64_t hour_ms) {
  in.record(volume_id, main_stream, hour_ms, 1);
  in.forget({in.periods().back().id});
}

}  // namespace

std::string digest_of(fs::path const& folder) {
  std::map<ino_t, std::size_t> files;
  std::ostringstream digest;
  for (auto const& path : all_below(folder)) {
    digest << path.lexically_relative(folder).string();
    if (!fs::is_directory(path)) {
      auto const status = status_of(path);
      auto const number = files.emplace(status.st_ino, files.size()).first->second;
      auto const content = content_of(path);
      bool const cold = is_cold_journal(path, content);
      digest << ' ' << number << ' ' << status.st_size << ' '
             << (cold ? 0 : std::hash<std::string>()(content));
    }
    digest << '\n';
  }
  return digest.str();
}

void make_leaking(fs::path const& recorder) {
  lab::make_recorder(recorder, support::small([](auto& options) { options.volume_mb = 5; }), {});
  auto writer = lab::recorder::open(recorder, lab::access::read_write);
  lab::stream const other{2, 4, 0};
  writer.record(1, other, now - hour, 1);
  writer.record(2, other, now - 2 * hour, 1);
  leak(writer, 1, now - 5 * hour);
  leak(writer, 1, now - 6 * hour);
  leak(writer, 2, now - 5 * hour);
}

std::vector<std::string> summary_of(fs::path const& recorder) {
  auto const catalogue = read_catalogue(recorder);
  std::vector<std::string> lines;
  for (auto const volume : {"1", "2"}) {
    auto const rows = rows_of(catalogue,
                              "SELECT name, state, channel_id, recording_type, stream, hour_ms,"
                              "       period_id IS NOT NULL"
                              "  FROM unit WHERE volume_id = " +
                                  std::string(volume) + " ORDER BY name",
                              7);
    lines.push_back(joined(rows));
  }
  auto const volumes = rows_of(catalogue, "SELECT name, type, state FROM volume ORDER BY id", 3);
  auto const periods =
      rows_of(catalogue,
              "SELECT channel_id, recording_type, stream, start_ms, end_ms, storage_id"
              "  FROM period ORDER BY start_ms, channel_id",
              6);
  lines.push_back(joined(volumes) + joined(periods));
  return lines;
}

origin::origin(fs::path const& recorder) : other_streams(other_streams_in(recorder)) {
  auto const reader = lab::recorder::open(recorder, lab::access::read_only);
  for (auto const& volume : reader.volumes()) {
    leaked_mb[volume.id] = reader.account(volume.id).lost * reader.unit_mb();
  }
  auto const catalogue = read_catalogue(recorder);
  for (auto const& name : rows_of(catalogue,
                                  "SELECT v.folder || '/' || u.name"
                                  "  FROM unit u JOIN volume v ON v.id = u.volume_id"
                                  "  WHERE u.state = 'recorded' AND u.period_id IS NULL",
                                  1)) {
    leaked.insert(name.substr(0, name.size() - 1));
  }
}

std::vector<std::string> problems_when_stopped(fs::path const& recorder, origin const& before) {
  std::vector<std::string> problems;
  auto const reader = lab::recorder::open(recorder, lab::access::read_only);
  for (auto const& volume : reader.volumes()) {
    append(problems, misplaced(recorder, volume));
    auto const missing = missing_mb(volume);
    if (missing > before.leaked_mb.at(volume.id)) {
      problems.push_back(volume.name + ": a leak of " + std::to_string(missing) + " MB is seen");
    }
  }
  return problems;
}

std::vector<std::string> problems_when_finished(fs::path const& recorder, origin const& before) {
  std::vector<std::string> problems;
  auto const reader = lab::recorder::open(recorder, lab::access::read_only);
  auto const volumes = reader.volumes();
  for (auto const& volume : volumes) {
    append(problems, misplaced(recorder, volume));
    append(problems, wrong_sums(reader, volume));
  }
  for (auto const& finding : lab::check(reader)) {
    auto const line = lab::printed(finding);
    bool const known = std::any_of(volumes.begin(), volumes.end(), [&](auto const& volume) {
      return is_leak_of(before, volume, line);
    });
    if (!known) problems.push_back("check: " + line);
  }
  auto const catalogue = read_catalogue(recorder);
  if (joined(rows_of(catalogue, "PRAGMA integrity_check", 1)) != "ok ; ") {
    problems.emplace_back("the catalogue is damaged");
  }
  if (!rows_of(catalogue, "PRAGMA foreign_key_check", 3).empty()) {
    problems.emplace_back("the catalogue's rows refer to nothing");
  }
  if (other_streams_in(recorder) != before.other_streams) {
    problems.emplace_back("another stream's units are not what they were");
  }
  return problems;
}

}  // namespace fault_support
