// Paths by device and inode, so that no file has two uses.
#include "tzfiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include "tzostream.h"

namespace {

constexpr int kMaxLinks = 40;  // as the system itself follows

tzFileIdentity fromStatus(const struct stat& status) {
  const bool onDisk = S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
  return {status.st_dev, status.st_ino, "", true, onDisk};
}

// What a link that leads to no file says; empty for no link.
tzString linkTarget(const tzString& path) {
  char target[PATH_MAX];
  const ssize_t length = readlink(path.c_str(), target, sizeof target - 1);
  if (length <= 0) return "";
  target[length] = 0;
  return io_stream::pathIn(path.getFileDir(), target);
}

void cantWrite(const tzString& path, const tzString& reason) {
  g_ostrm << L_ERR << "-- Can't open file " + path + " to write: " + reason + "\n" << L_END;
}

}  // namespace

bool tzFileIdentity::operator==(const tzFileIdentity& other) const {
  return known && other.known && device == other.device && inode == other.inode &&
         name == other.name;
}

tzFileIdentity tzFileIdentity::of(const tzString& path) {
  tzString file = path;
  struct stat status {};
  for (int i = 0; i < kMaxLinks; ++i) {
    if (stat(file.c_str(), &status) == 0) return fromStatus(status);
    const tzString target = linkTarget(file);
    if (target.empty()) break;
    file = target;
  }
  const tzString folder = file.getFileDir();
  if (stat(folder.empty() ? "." : folder.c_str(), &status) != 0) return {};
  return {status.st_dev, status.st_ino, file.getFileName(), true, true};
}

tzFileIdentity tzFileIdentity::of(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 ? fromStatus(status) : tzFileIdentity{};
}

tzString tzFiles::conflict(const tzString& path, Use use, const tzString& by) const {
  const tzFileIdentity wanted = tzFileIdentity::of(path);
  for (const Claim& claim : m_claims) {
    if (!(claim.file == wanted) || (use == READ && claim.use == READ)) continue;
    const bool completesIniFile =
        (by == "-I" && claim.by == "-i") || (by == "-i" && claim.by == "-I");
    if (completesIniFile) continue;
    return claim.by + (claim.use == READ ? " reads" : " writes") + " the same file";
  }
  return "";
}

void tzFiles::add(const tzFileIdentity& file, Use use, const tzString& by) {
  if (file.known && file.onDisk) m_claims.push_back({file, use, by});
}

void tzFiles::claim(const tzString& path, Use use, const tzString& by) {
  add(tzFileIdentity::of(path), use, by);
}

void tzFiles::claimStandardStreams() {
  add(tzFileIdentity::of(STDIN_FILENO), READ, "standard input");
  add(tzFileIdentity::of(STDOUT_FILENO), WRITTEN, "standard output");
  add(tzFileIdentity::of(STDERR_FILENO), WRITTEN, "standard error");
}

bool tzFiles::reserve(const tzString& path) {
  const tzFileIdentity file = tzFileIdentity::of(path);
  if (!file.onDisk) return true;  // opened when it is written to: a pipe would wait for its reader
  const bool made = !file.name.empty();
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY, 0666);
  if (descriptor < 0) {
    cantWrite(path, std::strerror(errno));
    return false;
  }
  m_reserved.push_back({path, descriptor, made});
  // Where the file system has no locks there is nothing to be kept.
  if (flock(descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) return true;
  m_reserved.back().made = false;
  cantWrite(path, "another run is writing it");
  return false;
}

void tzFiles::undo() {
  for (const Reserved& file : m_reserved) {
    if (file.made) unlink(file.path.c_str());
  }
  release();
}

void tzFiles::release() {
  for (const Reserved& file : m_reserved) ::close(file.descriptor);
  m_reserved.clear();
}
