// Files that are never half there.
#include "report/wholefile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "report/error.h"

namespace report {

void writeWhole(const std::string& path, const std::function<void(std::ostream&)>& write) {
  using std::filesystem::file_type;
  std::error_code unknown;  // what cannot be looked at cannot be opened either, which tells more
  const file_type type = std::filesystem::symlink_status(path, unknown).type();
  const bool isInPlace = type != file_type::regular && type != file_type::not_found;
  const std::string draft = isInPlace ? path : path + ".part";
  errno = 0;
  std::ofstream file(draft, std::ios::binary);
  if (file) write(file);
  file.close();
  if (file && (isInPlace || std::rename(draft.c_str(), path.c_str()) == 0)) return;
  const Error error(path, errno != 0 ? std::strerror(errno) : "cannot be written");
  if (!isInPlace) std::remove(draft.c_str());
  throw error;
}

}  // namespace report
