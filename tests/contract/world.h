// A recorder behind the contract, whoever answers: one or more spaces with
// volumes, and channels of which the first has normal recordings on stream 0
// and none on stream 4, and records into the first volume.
#pragma once

#include <filesystem>
#include <memory>

namespace contract {

class world {
 public:
  virtual ~world() = default;
};

// Defined once for each implementation. What the library needs lies in
// `folder`, which is the test's own and empty.
std::unique_ptr<world> make_world(std::filesystem::path const& folder);

}  // namespace contract
