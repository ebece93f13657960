/// @file
/// The files of a run: every path that it reads or writes, with one owner.
#pragma once

#include <sys/types.h>

#include <vector>

#include "tzstring.h"

/// Which file a path leads to: device and inode of the file, or of the folder in which it would be
/// made, with its name. Links lead to what they stand for.
struct tzFileIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  tzString name;  ///< empty for a file that exists
  bool known = false;
  bool onDisk = true;  ///< no terminal, device or pipe

  static tzFileIdentity of(const tzString& path);
  static tzFileIdentity of(int descriptor);
  bool operator==(const tzFileIdentity& other) const;
};

/// Keeps two uses of one file apart. Only files on disk count: any number of keys may write to a
/// terminal, a pipe or /dev/null.
class tzFiles {
 public:
  enum Use { READ, WRITTEN };

  tzFiles() = default;
  tzFiles(const tzFiles&) = delete;
  tzFiles& operator=(const tzFiles&) = delete;
  ~tzFiles() { release(); }

  /// @param use  what is wanted
  /// @param by   who wants it: a key ("-r") or a description
  /// @return why this would disturb another use, "-r writes the same file"; empty when it does not
  tzString conflict(const tzString& path, Use use, const tzString& by) const;
  /// From now on the file is used so.
  void claim(const tzString& path, Use use, const tzString& by);
  /// Standard input, output and error, where they are files.
  void claimStandardStreams();

  /// Opens a file that will be written, without changing it, and keeps other runs from it.
  /// @return false, after a message on the console, when it can't be opened or another run has it
  bool reserve(const tzString& path);
  /// Takes back what reserve did: files that it made are removed.
  void undo();
  /// Lets other runs have the files.
  void release();

 private:
  struct Claim {
    tzFileIdentity file;
    Use use;
    tzString by;
  };
  struct Reserved {
    tzString path;
    int descriptor;
    bool made;
  };

  void add(const tzFileIdentity& file, Use use, const tzString& by);

  std::vector<Claim> m_claims;
  std::vector<Reserved> m_reserved;
};
