#include "lab/disk/fault_hook.h"

namespace lab::fault_points {

bool refused(call /*what*/, std::filesystem::path const& /*path*/) { return false; }

bool refused(call /*what*/, folder const& /*in*/, std::string const& /*name*/) { return false; }

bool refused_link(folder const& /*from*/, folder const& /*to*/, std::string const& /*name*/) {
  return false;
}

bool refused_move(folder const& /*from*/, folder const& /*to*/, std::string const& /*name*/) {
  return false;
}

char const* database_vfs() { return nullptr; }

}  // namespace lab::fault_points
