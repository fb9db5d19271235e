// Making a recorder: its units are laid straight where the plan wants them, and
// the catalogue gets its name last, so that whatever a stop leaves behind is no
// recorder.
#include "lab/make/make.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <numeric>
#include <set>
#include <system_error>
#include <utility>

#include "lab/catalogue/catalogue.h"
#include "lab/catalogue/journal.h"
#include "lab/catalogue/schema.h"
#include "lab/disk/file_steps.h"
#include "lab/make/plan.h"
#include "lab/recorder/state.h"
#include "lab/volume/layout.h"
#include "lab/volume/moves.h"
#include "lab/volume/place.h"
#include "lab/volume/scan.h"

namespace lab {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t longest_preallocate_path = 255;
constexpr char const* new_catalogue_file = "catalogue.new";

void require_usable_path(fs::path const& where, make_plan const& plan) {
  auto const share = where / share_folder;
  require_path_without_share(where);
  for (auto const& volume : plan.volumes) {
    auto const storage = storage_folder((share / volume.folder).string(), volume.sid_text);
    auto const longest = storage + "/" + preallocate_folder;
    if (longest.size() > longest_preallocate_path) {
      throw error(where.string() + ": path is too long: " + std::to_string(longest.size()) +
                  " characters down to the preallocated units, at most " +
                  std::to_string(longest_preallocate_path) + " are possible");
    }
  }
}

// What a make that was killed leaves behind is nothing that no make makes. The
// catalogue's journal comes after the new catalogue: alone it is what is left of
// a recorder that has lost its catalogue.
bool is_left_by_a_make(std::vector<std::string> const& names) {
  auto const file = std::string(new_catalogue_file);
  std::set<std::string> made{share_folder, file, file + "-journal"};
  if (std::count(names.begin(), names.end(), file) == 1) made.insert(catalogue_journal_file);
  return std::all_of(names.begin(), names.end(),
                     [&made](auto const& name) { return made.count(name) == 1; });
}

[[noreturn]] void fail_as_not_empty(fs::path const& where, std::vector<std::string> const& names) {
  if (!is_left_by_a_make(names)) throw error(where.string() + ": folder is not empty");
  std::string left;
  for (auto const& name : names) left += (left.empty() ? "" : ", ") + name;
  throw error(where.string() + ": folder is not empty: it looks as a stopped make leaves it (" +
              left + "); remove that first, unless it holds recordings");
}

void require_absent_or_empty(fs::path const& where) {
  std::error_code problem;
  auto const status = fs::symlink_status(where, problem);
  if (status.type() == fs::file_type::not_found) return;
  if (!fs::is_directory(where, problem)) throw error(where.string() + ": not a folder");
  auto const names = folder(where).names();
  if (!names.empty()) fail_as_not_empty(where, names);
}

std::int64_t units_of(make_plan const& plan) {
  return std::accumulate(plan.volumes.begin(), plan.volumes.end(), std::int64_t{0},
                         [](auto sum, auto const& volume) { return sum + volume.units; });
}

void require_room(fs::path const& where, make_plan const& plan) {
  auto existing = where;
  std::error_code problem;
  while (!fs::exists(existing, problem) && existing.has_relative_path()) {
    existing = existing.parent_path();
  }
  struct statvfs disk {};
  if (statvfs(existing.c_str(), &disk) != 0) fail_with_errno(existing, "cannot look at the disk");
  auto const volumes = static_cast<std::int64_t>(plan.volumes.size());
  auto const units = units_of(plan);
  auto const recordings = static_cast<std::int64_t>(plan.recordings.size());
  // Folders, catalogue and its journal come on top of the units; only a recording with
  // units has a folder.
  std::int64_t const kilobytes =
      units + volumes * 64 + std::min(recordings, units) * 8 + recordings / 2 + 8192;
  std::int64_t const needed_mb = units * plan.unit_mb + kilobytes / 1024;
  auto const block = static_cast<std::int64_t>(disk.f_frsize);
  auto const free_mb =
      static_cast<std::int64_t>(disk.f_bavail) / (megabyte / std::min(block, megabyte));
  if (free_mb < needed_mb) {
    throw error(existing.string() + ": too little disk: " + std::to_string(needed_mb) +
                " MB needed, " + std::to_string(free_mb) + " MB are free");
  }
}

// Removes on destruction what was made, unless it was kept.
class making {
 public:
  explicit making(fs::path where)
      : where_(std::move(where)), made_folder_(steps::make_folders(where_)) {}

  // The catalogue goes first: where it stays, all stays, so that no recorder is
  // left in parts.
  ~making() {
    if (kept_) return;
    try {
      folder const inside(where_);
      for (auto const& name : made_) {
        if (!steps::remove_tree(inside, name)) return;
      }
      if (made_folder_) steps::remove_empty_folder(folder(where_.parent_path()), where_.filename());
    } catch (error const&) {
      // What is left is no recorder.
    }
  }

  making(making const&) = delete;
  making& operator=(making const&) = delete;

  // Makes the share folder. Whoever makes it owns the rest: of two that make a
  // recorder in one folder, one fails here.
  void claim() {
    if (!steps::make_folder(folder(where_), share_folder)) {
      throw error(where_.string() + ": folder is not empty");
    }
    auto const file = std::string(new_catalogue_file);
    made_ = {catalogue_file, catalogue_journal_file, file, file + "-journal", share_folder};
  }

  void keep() { kept_ = true; }

 private:
  fs::path where_;
  bool made_folder_;
  std::vector<std::string> made_;
  bool kept_ = false;
};

// The recording that is planned for a unit of the volume; none for a free one.
planned_recording const* recording_of(make_plan const& plan, planned_volume const& volume,
                                      int unit) {
  auto const place = static_cast<std::size_t>(unit);
  if (place >= volume.recorded.size()) return nullptr;
  return &plan.recordings[static_cast<std::size_t>(volume.recorded[place])];
}

// Tells how many of all units are laid.
class unit_count {
 public:
  unit_count(make_plan const& plan, progress const& report)
      : total_(units_of(plan)), report_(report) {}

  void add_one() {
    ++done_;
    tell();
  }

  void tell() const {
    if (report_) report_(done_, total_);
  }

 private:
  std::int64_t total_;
  std::int64_t done_ = 0;
  progress const& report_;
};

void lay_volume(folder const& share, make_plan const& plan, planned_volume const& planned,
                std::int64_t unit_bytes, unit_count& count) {
  steps::make_folder(share, planned.folder);
  folder const place(share, planned.folder);
  steps::make_file(place, identity_file, identity_text(planned.sid_text));
  steps::make_folder(place, storage_folder_name(planned.sid_text));
  folder const storage(place, storage_folder_name(planned.sid_text));
  steps::make_folder(storage, preallocate_folder);
  folder const preallocated(storage, preallocate_folder);
  auto const preallocate = [&](folder const& in, std::string const& name) {
    steps::preallocate_file(in, name, unit_bytes, [&count] { count.tell(); });
  };
  for (int unit = 0; unit < planned.units; ++unit) {
    auto const name = unit_name(unit);
    if (auto const* const of = recording_of(plan, planned, unit)) {
      auto const number = plan.channels[static_cast<std::size_t>(of->channel)].number;
      auto const hour_name = hour_folder_name(number, of->recording_type, of->stream, of->hour_ms);
      steps::make_folder(storage, hour_name);
      folder const hour(storage, hour_name);
      preallocate(hour, name);
      steps::write_head(hour, name, recording_head(hour_name, name));
    } else {
      preallocate(preallocated, name);
    }
    count.add_one();
  }
}

void insert_spaces_and_volumes(database& catalogue, make_plan const& plan) {
  statement space(catalogue,
                  "INSERT INTO space (id, sid, name, uuid, status, spare_state)"
                  "  VALUES (?, ?, ?, ?, ?, ?)");
  for (std::size_t index = 0; index < plan.spaces.size(); ++index) {
    auto const& planned = plan.spaces[index];
    space
        .with(static_cast<std::int64_t>(index + 1), planned.sid, planned.name, planned.uuid,
              planned.status, planned.spare_state)
        .run();
  }
  statement volume(catalogue,
                   "INSERT INTO volume (id, space_id, sid_number, sid_text, name, folder, type,"
                   "                    state, volume_no)"
                   "  VALUES (?1, ?2, ?1, ?3, ?4, ?5, ?6, ?7, ?8)");
  for (std::size_t index = 0; index < plan.volumes.size(); ++index) {
    auto const& planned = plan.volumes[index];
    volume
        .with(static_cast<std::int64_t>(index + 1), planned.space + 1, planned.sid_text,
              planned.name, planned.folder, planned.type, planned.state, planned.number)
        .run();
  }
}

void insert_channels(database& catalogue, make_plan const& plan) {
  statement channel(catalogue, "INSERT INTO channel (id, number, sid) VALUES (?, ?, ?)");
  statement assignment(catalogue, "INSERT INTO assignment (channel_id, volume_id) VALUES (?, ?)");
  for (std::size_t index = 0; index < plan.channels.size(); ++index) {
    auto const& planned = plan.channels[index];
    auto const id = static_cast<std::int64_t>(index + 1);
    channel.with(id, planned.number, planned.sid).run();
    for (int const volume : planned.volumes) assignment.with(id, volume + 1).run();
  }
}

// So many rows are written in a small fraction of a second.
constexpr int rows_at_once = 1000;

void insert_periods(database& catalogue, make_plan const& plan, unit_count const& count) {
  statement period(catalogue,
                   "INSERT INTO period"
                   "  (id, channel_id, recording_type, stream, start_ms, end_ms, storage_id)"
                   "  VALUES (?, ?, ?, ?, ?, ?, ?)");
  for (std::size_t index = 0; index < plan.recordings.size(); ++index) {
    auto const& recording = plan.recordings[index];
    if (recording.is_forgotten) continue;
    period
        .with(static_cast<std::int64_t>(index + 1), recording.channel + 1, recording.recording_type,
              recording.stream, recording.start_ms, recording.end_ms, recording.storage_id)
        .run();
    if (index % static_cast<std::size_t>(rows_at_once) == 0) count.tell();
  }
}

void insert_units(database& catalogue, make_plan const& plan, std::size_t volume,
                  unit_count const& count) {
  statement free_unit(catalogue, "INSERT INTO unit (volume_id, name) VALUES (?, ?)");
  statement recorded(catalogue,
                     "INSERT INTO unit (volume_id, name, state, channel_id, recording_type, stream,"
                     "                  hour_ms, period_id)"
                     "  VALUES (?, ?, 'recorded', ?, ?, ?, ?, ?)");
  statement lost(catalogue,
                 "INSERT INTO unit (volume_id, name, state, channel_id, recording_type, stream,"
                 "                  hour_ms)"
                 "  VALUES (?, ?, 'recorded', ?, ?, ?, ?)");
  auto const volume_id = static_cast<std::int64_t>(volume + 1);
  for (int unit = 0; unit < plan.volumes[volume].units; ++unit) {
    if (unit % rows_at_once == 0) count.tell();
    auto const name = unit_name(unit);
    auto const* const of = recording_of(plan, plan.volumes[volume], unit);
    if (of == nullptr) {
      free_unit.with(volume_id, name).run();
    } else if (of->is_forgotten) {
      lost.with(volume_id, name, of->channel + 1, of->recording_type, of->stream, of->hour_ms)
          .run();
    } else {
      recorded
          .with(volume_id, name, of->channel + 1, of->recording_type, of->stream, of->hour_ms,
                of - plan.recordings.data() + 1)
          .run();
    }
  }
}

void write_catalogue(fs::path const& file, make_plan const& plan, unit_count const& count) {
  database catalogue(file, database::mode::create, default_lock_timeout);
  transaction all(catalogue, transaction_kind::writing);
  catalogue.execute(catalogue_schema);
  statement(catalogue, "INSERT INTO recorder (id, unit_mb, seed, made_ms) VALUES (1, ?, ?, ?)")
      .with(plan.unit_mb, static_cast<std::int64_t>(plan.seed), plan.now_ms)
      .run();
  insert_spaces_and_volumes(catalogue, plan);
  insert_channels(catalogue, plan);
  insert_periods(catalogue, plan, count);
  for (std::size_t volume = 0; volume < plan.volumes.size(); ++volume) {
    insert_units(catalogue, plan, volume, count);
  }
  all.commit();
  catalogue.reserve(catalogue_reserve);
}

}  // namespace

void make_recorder(fs::path const& folder_to_make, make_options const& options,
                   progress const& report) {
  make_recorder(folder_to_make, plan_recorder(options), report);
}

void make_recorder(fs::path const& folder_to_make, make_plan const& plan, progress const& report) {
  auto const where = resolved(folder_to_make);
  require_usable_path(where, plan);
  require_absent_or_empty(where);
  require_room(where, plan);
  making made(where);
  made.claim();
  lab::folder const recorder_folder(where);
  lab::folder const share(recorder_folder, share_folder);
  unit_count count(plan, report);
  for (auto const& volume : plan.volumes) {
    lay_volume(share, plan, volume, plan.unit_mb * megabyte, count);
  }
  write_catalogue(where / new_catalogue_file, plan, count);
  // Units can be given back on a full disk: nothing of the catalogue's needs
  // space then.
  std::error_code ignored;
  auto const bytes = static_cast<std::int64_t>(fs::file_size(where / new_catalogue_file, ignored));
  steps::preallocate_file(recorder_folder, catalogue_journal_file, journal_bytes(bytes));
  steps::sync_file_system(recorder_folder);
  // The last moment in which it can be stopped.
  count.tell();
  steps::rename_file(recorder_folder, new_catalogue_file, catalogue_file);
  steps::sync_folder(recorder_folder);
  made.keep();
}

}  // namespace lab
