// Gives all units of a recorder's volumes back to preallocate, with the calls that
// the order of a move needs and nothing else: the units of each batch are linked,
// preallocate is synced, they are unlinked, their hour folders go, and the storage
// folder is synced. The catalogue is left as it was: what it would say before the
// first batch and after each one is a number that is written to a file and synced.
//
//   bare_recycling DIR
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <utility>

#include "descriptor.h"

namespace {

using bare::folder;
using bare::must;

constexpr char const* preallocate_name = "preallocate";
constexpr std::size_t batch = 256;  // units

struct unit {
  std::string hour;
  std::string name;
};
using units = std::vector<unit>;

units recorded_in(folder const& storage) {
  units found;
  auto hours = storage.names();
  std::sort(hours.begin(), hours.end());
  for (auto const& hour : hours) {
    if (hour == preallocate_name) continue;
    for (auto& name : folder(storage.number(), hour).names()) {
      found.push_back({hour, std::move(name)});
    }
  }
  return found;
}

// Unlinks the units of an hour, and removes its folder, or syncs it while units of
// the next batch are in it. Goes to the next hour.
void leave_hour(folder const& storage, units::const_iterator& unit, units::const_iterator end) {
  auto const hour_name = unit->hour;
  folder const hour(storage.number(), hour_name);
  for (; unit != end && unit->hour == hour_name; ++unit) {
    must(unlinkat(hour.number(), unit->name.c_str(), 0) == 0, unit->name);
  }
  if (unlinkat(storage.number(), hour_name.c_str(), AT_REMOVEDIR) != 0) {
    must(fsync(hour.number()) == 0, hour_name);
  }
}

void give_back(folder const& storage, folder const& preallocate, units::const_iterator begin,
               units::const_iterator end) {
  for (auto unit = begin; unit != end;) {
    auto const hour_name = unit->hour;
    folder const hour(storage.number(), hour_name);
    for (; unit != end && unit->hour == hour_name; ++unit) {
      must(linkat(hour.number(), unit->name.c_str(), preallocate.number(), unit->name.c_str(), 0) ==
               0,
           unit->name);
    }
  }
  must(fsync(preallocate.number()) == 0, preallocate_name);
  for (auto unit = begin; unit != end;) leave_hour(storage, unit, end);
  must(fsync(storage.number()) == 0, "storage folder");
}

// Stands for the catalogue.
class note {
 public:
  explicit note(std::string const& recorder)
      : number_(open((recorder + "/bare_note").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644)) {
    must(number_ >= 0, "bare_note");
  }
  ~note() { close(number_); }
  note(note const&) = delete;
  note& operator=(note const&) = delete;

  void say(std::size_t done) const {
    bool const written = pwrite(number_, &done, sizeof done, 0) == ssize_t{sizeof done};
    must(written && fdatasync(number_) == 0, "bare_note");
  }

 private:
  int number_;
};

std::size_t recycle(folder const& storage, note const& catalogue) {
  folder const preallocate(storage.number(), preallocate_name);
  auto const all = recorded_in(storage);
  if (!all.empty()) catalogue.say(0);
  for (std::size_t done = 0; done < all.size(); done += batch) {
    auto const begin = all.begin() + static_cast<std::ptrdiff_t>(done);
    auto const size = std::min(batch, all.size() - done);
    give_back(storage, preallocate, begin, begin + static_cast<std::ptrdiff_t>(size));
    catalogue.say(done + size);
  }
  return all.size();
}

std::size_t recycle_recorder(std::string const& recorder) {
  folder const share(AT_FDCWD, recorder + "/share");
  note const catalogue(recorder);
  std::size_t count = 0;
  for (auto const& name : share.names()) {
    folder const volume(share.number(), name);
    for (auto const& inside : volume.names()) {
      if (inside.compare(0, 4, "FSU_") == 0)
        count += recycle(folder(volume.number(), inside), catalogue);
    }
  }
  return count;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: bare_recycling DIR\n");
    return 2;
  }
  try {
    std::printf("%zu units\n", recycle_recorder(arguments[1]));
  } catch (std::exception const& problem) {
    std::fprintf(stderr, "bare_recycling: %s\n", problem.what());
    return 1;
  }
}
