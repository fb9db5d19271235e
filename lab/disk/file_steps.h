// Every step by which a recorder changes what is on disk. Nothing else in the
// lab writes, so this is the one place where a step can be watched or made to
// fail (see fault_hook.h). Each throws lab::error when it fails, except where it
// says otherwise.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "lab/disk/folder.h"

struct sqlite3;

namespace lab::steps {

// Makes a folder; false when there is one by that name.
bool make_folder(folder const& in, std::string const& name);

// Makes a folder and those above it; false when there is one already.
bool make_folders(std::filesystem::path const& path);

// Removes a file, or a folder with all that is in it, as far as that can be
// done; true when it is gone.
bool remove_tree(folder const& in, std::string const& name) noexcept;

// Removes a folder unless something is in it or it is absent; true when it was
// removed.
bool remove_empty_folder(folder const& in, std::string const& name);

// Makes a file that is not there yet, with the given content. Nothing of it stays on
// failure, as far as it can be removed.
void make_file(folder const& in, std::string const& name, std::string const& content);

// Makes an empty file that is not there yet, with the permissions of `other` in
// the same folder and, as far as it may be given away, its owner.
void make_file_like(folder const& in, std::string const& other, std::string const& name);

// Makes a file that is not there yet, all its blocks allocated, piece by piece:
// `between` is called between two pieces. Nothing of it stays on failure, or when
// `between` throws, as far as it can be removed.
void preallocate_file(folder const& in, std::string const& name, std::int64_t bytes,
                      std::function<void()> const& between = {});

// Gives an existing file all blocks up to `bytes` and at least that length. What
// it holds stays. Refuses a file that has a second name, perhaps elsewhere.
void allocate_blocks(folder const& in, std::string const& name, std::int64_t bytes);

// Writes over the beginning of a file, and has it written out meanwhile.
void write_head(folder const& in, std::string const& name, std::string const& head);

// Makes a file's content durable.
void sync_file(folder const& in, std::string const& name);

// Gives a file its name in another folder too; false when the name is taken
// there.
bool link_file(folder const& from, folder const& to, std::string const& name);

// Makes a file that is not there yet with what the one by its name in another
// folder holds, and with its permissions. Nothing of it stays on failure, as far
// as it can be removed.
void copy_file(folder const& from, folder const& to, std::string const& name);

// Cuts an existing file, or makes it longer by what reads as zeros.
void cut_file(folder const& in, std::string const& name, std::int64_t bytes);

// Moves a file or a folder into another folder of the same file system. There it
// replaces a file by its name, and a folder an empty one.
void move_file(folder const& from, folder const& to, std::string const& name);

// Moves a file into another folder of the same file system; false when its name is
// taken there.
bool move_to_free_name(folder const& from, folder const& to, std::string const& name);

void remove_file(folder const& in, std::string const& name);
void rename_file(folder const& in, std::string const& from, std::string const& to);

// Makes the names in a folder durable.
void sync_folder(folder const& which);

// Makes everything on the folder's file system durable.
void sync_file_system(folder const& any);

// Opens a database, through which SQLite writes; SQLite's result. The caller
// closes the connection, which can be there on failure too.
int open_database(std::filesystem::path const& file, sqlite3** connection, int flags);

// Commits the connection's transaction; SQLite's result.
int commit(sqlite3* connection);

}  // namespace lab::steps
