// The objects that an entry object has handed out and not got back.
#pragma once

#include <algorithm>
#include <list>

#include "lab/client/attempt.h"

namespace lab::client {

template <typename Object, typename Interface>
class handed_out {
 public:
  template <typename... Arguments>
  Interface* add(Arguments&&... arguments) {
    return &objects_.emplace_back(std::forward<Arguments>(arguments)...);
  }

  // Destroys *object and makes it null; a null *object is accepted, one that
  // was not handed out here is left alone and refused.
  int take_back(Interface** object) {
    if (object == nullptr) return failed;
    if (*object == nullptr) return succeeded;
    auto const found = std::find_if(objects_.begin(), objects_.end(), [&](Object const& each) {
      return static_cast<Interface const*>(&each) == *object;
    });
    if (found == objects_.end()) return failed;
    objects_.erase(found);
    *object = nullptr;
    return succeeded;
  }

 private:
  std::list<Object> objects_;
};

}  // namespace lab::client
