// The objects that an entry object has handed out and not got back.
#pragma once

#include <algorithm>
#include <list>
#include <utility>

#include "lab/client/operation.h"

namespace lab::client {

template <typename Object, typename Interface>
class handed_out {
 public:
  // For a create operation: makes *object null, then fills it with an object
  // made of what `ready()` returns, the recorder to read from, and of the further
  // arguments. It lives here until it is taken back.
  template <typename Ready, typename... Further>
  int create(char const* name, json const& arguments, Interface** object, Ready const& ready,
             Further const&... further) {
    *object = nullptr;
    return operation(name, arguments, object,
                     [&] { *object = &objects_.emplace_back(ready(), further...); });
  }

  // For a destroy operation: destroys *object and makes it null; a null *object is
  // accepted, one that was not handed out here is left alone and refused.
  int destroy(char const* name, json const& arguments, Interface** object) {
    return operation(name, arguments, [&] { return take_back(object); });
  }

 private:
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

  std::list<Object> objects_;
};

// Whether a destroy operation was given an object.
template <typename Interface>
json describe_given(Interface** object) {
  return object != nullptr && *object != nullptr;
}

}  // namespace lab::client
