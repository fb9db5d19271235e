// Faults on demand: what a client makes of a service that fails or answers
// nonsense can be seen from the shell. STLAB_SERVICE_FAULT holds one fault, or
// several with ';' between them:
//
//   OPERATION=KIND      at every call
//   OPERATION=KIND@3    at the third call of the operation in this process only
//   OPERATION=KIND@3+   at the third call and all later ones
//
// OPERATION is a name as the trace shows it, KIND one of
//
//   fail  The operation does nothing but return a failure. velt_popen() returns
//         null, make_hour_folder_full_path() an empty path.
//   null  The operation succeeds, and hands out a null pointer. For the four
//         create operations.
//   odd   The operation works, and its answer is odd:
//         a create operation    hands out an object and returns a failure
//         a list                has, behind its records, copies of the first
//                               one: each odd in a way of its own (texts that
//                               fill their fields, paths without a share name,
//                               unknown codes, sizes and times that are 0,
//                               negative or the greatest, channels that do not
//                               exist)
//         get_volume_info       every text full, every number extreme
//         a size                INT64_MIN, -1, 0, INT64_MAX, at one call each
//         days                  a negative count, a count without an array, an
//                               array of null texts, at one call each
//         velt_popen            the program prints nothing
//
// Of two faults for one call the first holds. With a text that says anything
// else every operation fails, and the log and standard error say why: going on
// without the fault that was asked for could recycle what it was meant to
// protect.
#pragma once

#include <cstdint>
#include <cstdio>
#include <list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "lab/util/error.h"
#include "storage/records.h"

namespace lab::client {

enum class fault { none, fail, null, odd };

struct due_fault {
  fault kind;
  std::uint64_t call;  // which call of the operation this is, from 1
};

class fault_plan {
 public:
  // Throws lab::error, with the reason, for a text that is no plan. The empty
  // text plans nothing.
  explicit fault_plan(std::string_view text);

  // Counts a call of the operation and tells what it has to do.
  due_fault next(std::string_view operation);

 private:
  struct entry {
    std::string operation;
    fault kind;
    std::uint64_t first;
    std::uint64_t last;
  };

  static entry parse(std::string_view item);

  std::vector<entry> entries_;
  std::map<std::string, std::uint64_t, std::less<>> calls_;
};

// The next call's fault by STLAB_SERVICE_FAULT. Another text than at the last
// call starts anew. Throws lab::error when it is no plan, and tells the user.
due_fault next_fault(char const* operation);

// Stands for the answer of an operation that has none.
struct no_answer {};

// The answer to recycling: how many units came back. None to be odd.
struct recycled : no_answer {
  std::int64_t units = 0;
};

// Turns a sound answer into an odd one. What is allocated belongs to the
// answer's receiver, like the rest of the answer.
void make_odd(std::list<space_info>* spaces, std::uint64_t call);
void make_odd(std::list<volume_info>* volumes, std::uint64_t call);
void make_odd(std::list<channel_sid>* channels, std::uint64_t call);
void make_odd(std::list<channel_setting>* channels, std::uint64_t call);
void make_odd(std::list<channel_storage_info>* pairings, std::uint64_t call);
void make_odd(std::list<time_period>* periods, std::uint64_t call);
void make_odd(std::list<std::uint32_t>* channels, std::uint64_t call);
void make_odd(volume_body* body, std::uint64_t call);
void make_odd(std::int64_t* size, std::uint64_t call);
void make_odd(day_list* days, std::uint64_t call);
void make_odd(std::FILE** stream, std::uint64_t call);

inline void make_odd(no_answer* /*answer*/, std::uint64_t /*call*/) {}

template <typename Interface>
[[noreturn]] void make_odd(Interface** /*object*/, std::uint64_t /*call*/) {
  throw error("fails by request, and hands out an object all the same");
}

template <typename Answer>
void hand_out_null(Answer* /*answer*/) {}

template <typename Interface>
void hand_out_null(Interface** object) {
  *object = nullptr;
}

}  // namespace lab::client
