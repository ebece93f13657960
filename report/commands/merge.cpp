// tazreport merge: parts of a run in one file.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <ostream>

#include "report/command.h"
#include "report/error.h"
#include "report/merge.h"
#include "report/text.h"

namespace report {

namespace {

class Merge : public Command {
 public:
  void declare(Options& options) override {
    options.list("FILE", m_files, 1, "JSON Lines of the parts of a run (keys -K, -j and -J)");
    options.text("-o,--output", m_output, "The file that is made");
    options.require();
    options.flag("--complete", m_complete, "Make it only when every part came to its end");
  }

  int run(const Console& console) override {
    Merger merger;
    for (const std::string& file : m_files) {
      LineReader reader(file);
      merger.add(reader);
    }
    const std::vector<std::string> notes = merger.notes();
    if (m_complete && !merger.complete()) throw Error(m_output, "is not made: " + notes.front());
    write(merger);
    console.out << m_output << ": " << counted(merger.rows(), "row") << " of "
                << counted(m_files.size(), "file") << ", "
                << (merger.machines() == 1
                        ? std::string("one machine")
                        : std::to_string(merger.machines()) + " machines or kinds of settings")
                << '\n';
    for (const std::string& note : notes) console.out << "Note: " << note << '\n';
    return kDone;
  }

 private:
  // Beside it first, so that it may be one of those that were read, and is never half.
  void write(const Merger& merger) const {
    const std::string beside = m_output + ".new";
    errno = 0;
    std::ofstream file(beside, std::ios::binary);
    if (file) merger.write(file);
    file.close();
    if (file && std::rename(beside.c_str(), m_output.c_str()) == 0) return;
    const std::string reason = std::strerror(errno);
    std::remove(beside.c_str());
    throw Error(m_output, reason);
  }

  std::vector<std::string> m_files;
  std::string m_output;
  bool m_complete = false;
};

}  // namespace

std::unique_ptr<Command> makeMerge() { return std::make_unique<Merge>(); }

}  // namespace report
