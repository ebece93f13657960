// Where the session finds and puts its files.

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "tzsession.h"

namespace {

constexpr const char* kExtensions[NUM_OUT_FILES] = {".txt",     ".csv",     "_name.csv",
                                                    "_sum.csv", "_mem.csv", ".jsonl"};

bool canWrite(const tzString& directory) {
  return faccessat(AT_FDCWD, directory.c_str(), W_OK, AT_EACCESS) == 0;
}

// The path as it stands when the current directory cannot be read.
tzString absolute(const tzString& path) {
  std::error_code error;
  const std::filesystem::path full = std::filesystem::absolute(path.c_str(), error);
  return error ? path : tzString(full.lexically_normal().c_str());
}

}  // namespace

bool isAbsolutePath(const tzString& path) { return path.c_str()[0] == '/'; }

tzString getDirPath(const tzString& dir, const tzString& name) {
  return io_stream::pathIn(dir, name);
}

const char* tzSession::extension(tzOutFile kind) { return kExtensions[kind]; }

// A name with a slash is the user's own way to the program and is kept, symbolic links included, so
// that a link may have a default name and a command file of its own. A bare name was found through
// PATH: then only the system knows the file.
void tzSession::findExecutable(const char* argv0) {
  const tzString name(argv0);
  if (name.find("/") >= 0) {
    m_exePath = absolute(name);
    return;
  }
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  m_exePath = error ? absolute(name) : tzString(self.c_str());
}

void tzSession::setInDir(const tzString& dir) {
  m_inDir = absolute(dir);
  io_stream::setInputDir(m_inDir);
}

void tzSession::setOutDir(const tzString& dir) {
  m_outDir = absolute(dir);
  io_stream::setOutputDir(m_outDir);
}

void tzSession::setDefName(const tzString& name) { m_defName = name; }

tzString tzSession::getInDir() const { return m_inDir.empty() ? m_exePath.getFileDir() : m_inDir; }

// An installed program lies where its user may not write.
tzString tzSession::getOutDir() const {
  if (!m_outDir.empty()) return m_outDir;
  const tzString beside = m_exePath.getFileDir();
  return canWrite(beside) ? beside : absolute(".");
}

tzString tzSession::iniPath(const tzString& name, bool create) const {
  tzString path = genInPath(name, INI_EXTENSION);
  const bool belongsThere = !m_inDir.empty() || canWrite(m_exePath.getFileDir()) ||
                            (!create && access(path.c_str(), F_OK) == 0);
  if (belongsThere) return path;
  return getDirPath(absolute("."), name.empty() ? getDefName() + INI_EXTENSION : name);
}

tzString tzSession::getDefName() const {
  return m_defName.empty() ? m_exePath.getFileTitle() : m_defName;
}

tzString tzSession::getInPath(const tzString& name) const { return getDirPath(getInDir(), name); }

tzString tzSession::getOutPath(const tzString& name) const { return getDirPath(getOutDir(), name); }

tzString tzSession::genInPath(const tzString& name, const tzString& ext) const {
  return getInPath(name.empty() ? getDefName() + ext : name);
}

tzString tzSession::genOutPath(const tzString& name, const tzString& ext) const {
  return getOutPath(name.empty() ? getDefName() + ext : name);
}
