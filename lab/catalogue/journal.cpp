#include "lab/catalogue/journal.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "lab/disk/file_steps.h"

namespace lab {

namespace {

// A change journals each page at most once, and few changes touch many.
constexpr std::int64_t most_bytes = std::int64_t{8} * 1024 * 1024;

class waiting_for_nobody {
 public:
  explicit waiting_for_nobody(database& of) : database_(of), before_(of.lock_timeout()) {
    database_.wait_at_most(std::chrono::milliseconds::zero());
  }
  ~waiting_for_nobody() { database_.wait_at_most(before_); }
  waiting_for_nobody(waiting_for_nobody const&) = delete;
  waiting_for_nobody& operator=(waiting_for_nobody const&) = delete;

 private:
  database& database_;
  std::chrono::milliseconds before_;
};

std::string name_of_journal(database const& catalogue) {
  return catalogue.file().filename().string() + "-journal";
}

using extent = journal_gap::extent;

std::optional<journal_gap> problem_of(std::filesystem::path const& journal, std::int64_t needed) {
  struct stat found {};
  bool const exists = lstat(journal.c_str(), &found) == 0 && S_ISREG(found.st_mode);
  if (!exists) return {{extent::all, "its journal is missing"}};
  std::int64_t const size = found.st_size;
  if (size < needed) {
    return {{extent::part, "its journal is " + std::to_string(size) +
                               " bytes long instead of at least " + std::to_string(needed)}};
  }
  std::int64_t const allocated = std::int64_t{found.st_blocks} * 512;
  if (allocated < needed) {
    return {{extent::part, "its journal has only " + std::to_string(allocated) + " of " +
                               std::to_string(needed) + " bytes allocated"}};
  }
  return std::nullopt;
}

// Only ever adds zeros behind what is there: to a journal that undoes a change
// they are nothing, and without one they begin no such journal.
void extend(database const& catalogue) {
  folder const in(catalogue.file().parent_path());
  auto const name = name_of_journal(catalogue);
  auto const file = in.status(catalogue.file().filename());
  std::int64_t const reserved = file ? std::int64_t{file->st_size} : 0;
  if (!in.status(name)) steps::make_file_like(in, catalogue.file().filename(), name);
  steps::allocate_blocks(in, name, journal_bytes(std::max(catalogue.used_bytes(), reserved)));
  steps::sync_file(in, name);
  steps::sync_folder(in);
}

}  // namespace

std::int64_t journal_bytes(std::int64_t catalogue_bytes) {
  return std::min(catalogue_bytes, most_bytes);
}

std::optional<journal_gap> journal_problem(database const& catalogue) {
  return problem_of(catalogue.file().replace_filename(name_of_journal(catalogue)),
                    journal_bytes(catalogue.used_bytes()));
}

void put_back_journal(database& catalogue) {
  try {
    if (!journal_problem(catalogue)) return;
    waiting_for_nobody const meanwhile(catalogue);
    // Whoever uses the journal holds this lock, and nobody gets it before what
    // was cut short has been undone.
    transaction const nobody_writes(catalogue, transaction_kind::writing);
    if (journal_problem(catalogue)) extend(catalogue);
  } catch (error const&) {
    // Check tells of it, and so does a change that cannot do without.
  }
}

}  // namespace lab
