#include "environment.h"

#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include <set>
#include <string>
#include <vector>

namespace support {

void scrub_environment() {
  std::set<std::string> const steering{"DU_BLOCK_SIZE", "BLOCK_SIZE", "BLOCKSIZE",
                                       "POSIXLY_CORRECT", "COLUMNS"};
  std::vector<std::string> names;
  for (char** each = environ; *each != nullptr; ++each) {
    std::string const entry = *each;
    names.push_back(entry.substr(0, entry.find('=')));
  }
  for (std::string const& name : names) {
    bool const is_ours = name.rfind("STLAB_", 0) == 0 || name.rfind("SCRIPTED_", 0) == 0;
    if (is_ours || steering.count(name) != 0) unsetenv(name.c_str());
  }
  setenv("LC_ALL", "C", 1);
  setenv("TZ", "UTC", 1);
  tzset();
}

}  // namespace support
