// What an object of an entry class holds: its room begins with a pointer to its
// state.
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>

#include "lab/client/trace.h"

namespace lab::client {

template <typename State>
class kept {
 public:
  // For the object's constructor, of that name in the trace: makes the state
  // that lives until drop().
  template <std::size_t Size>
  static void make(char const* constructor, unsigned char (&room)[Size]) {
    static_assert(sizeof(void*) <= Size);
    trace(constructor, json::object({}), nullptr);
    void const* const state = std::make_unique<State>().release();
    std::memcpy(room, &state, sizeof state);
  }

  // The state that make() put there.
  template <std::size_t Size>
  static State& in(unsigned char const (&room)[Size]) noexcept {
    void* state = nullptr;
    std::memcpy(&state, room, sizeof state);
    return *static_cast<State*>(state);
  }

  // For the object's destructor.
  template <std::size_t Size>
  static void drop(char const* destructor, unsigned char const (&room)[Size]) noexcept {
    trace(destructor, json::object({}), nullptr);
    std::unique_ptr<State> const last(&in(room));
  }
};

}  // namespace lab::client
