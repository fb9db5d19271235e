// Reads the folders of a recorder's volumes and looks at each file in them.
//
//   bare_scan DIR
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <exception>

#include "descriptor.h"

namespace {

struct sums {
  std::size_t files = 0;
  std::int64_t bytes = 0;
};

void scan(bare::folder const& in, sums& found) {
  for (auto const& name : in.names()) {
    struct stat status {};
    bare::must(fstatat(in.number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0, name);
    if (S_ISDIR(status.st_mode)) {
      scan(bare::folder(in.number(), name), found);
    } else {
      ++found.files;
      found.bytes += status.st_size;
    }
  }
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: bare_scan DIR\n");
    return 2;
  }
  try {
    sums found;
    scan(bare::folder(AT_FDCWD, std::string(arguments[1]) + "/share"), found);
    std::printf("%zu files, %lld bytes\n", found.files, static_cast<long long>(found.bytes));
  } catch (std::exception const& problem) {
    std::fprintf(stderr, "bare_scan: %s\n", problem.what());
    return 1;
  }
}
