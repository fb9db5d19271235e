// Temporary folders lie in memory when there is room: what is tested here does
// not depend on the disk, and syncing one takes most of the time.
#include <gtest/gtest.h>
#include <sys/statvfs.h>

#include <cstdlib>

int main(int argc, char** argv) {
  constexpr unsigned long long enough = 1ULL << 30;
  struct statvfs memory {};
  bool const has_room =
      statvfs("/dev/shm", &memory) == 0 && 1ULL * memory.f_bavail * memory.f_frsize >= enough;
  if (has_room) setenv("TMPDIR", "/dev/shm", 0);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
