#include "storage/codes.h"

#include <cstddef>
#include <iterator>

#include "storage/text.h"

namespace st {

namespace {

constexpr std::size_t status_name_size = 26;
constexpr std::size_t state_name_size = 20;

struct status_row {
  std::uint32_t status;
  char const* name;
  char const* spare_name;
};

// Code 4 has no name of its own.
constexpr status_row status_names[] = {
    {0, "Normal                   ", "Normal(With Spare)       "},
    {1, "Allocating               ", "Allocating               "},
    {2, "Deleting                 ", "Deleting                 "},
    {3, "Expanding                ", "Expanding                "},
    {5, "Error                    ", "Error(Spare Error)       "},
    {6, "Warning                  ", "Warning                  "},
    {7, "Spare Enabled(With Spare)", "Spare Enabled(With Spare)"},
    {8, "Warning(Spare Error)     ", "Warning(Spare Error)     "},
    {9, "Normal(Spare Error)      ", "Normal(Spare Error)      "},
};

constexpr char const* state_names[] = {
    "ACTIVE             ", "STANDBY            ", "NOT_MOUNTED        ",
    "STANDBY_NOT_MOUNTED", "CREAT_SHARE_FOLDERS", "VOL_OVER_THRESHOLD ",
    "REMOVING_VOLUME    ", "UNKNOW_ERROR       ", "",
};

}  // namespace

void space_status_name(std::uint32_t status, std::int32_t spare_state, char* name) noexcept {
  copy_text(name, status_name_size, "UNKNOW_STATUS            ");
  for (status_row const& row : status_names) {
    if (row.status == status) {
      copy_text(name, status_name_size, spare_state >= 1 ? row.spare_name : row.name);
    }
  }
}

void volume_state_name(std::int32_t state, char* name) noexcept {
  copy_text(name, state_name_size, "UNKNOW_STATUS      ");
  if (state < 0 || static_cast<std::size_t>(state) >= std::size(state_names)) return;
  copy_text(name, state_name_size, state_names[state]);
}

char const* volume_type_name(std::int32_t type) noexcept { return type == 0 ? "NORMAL" : "SPARE "; }

}  // namespace st
