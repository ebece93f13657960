// tazreport merge: parts of a run in one file.
#include <ostream>

#include "report/command.h"
#include "report/error.h"
#include "report/merge.h"
#include "report/text.h"
#include "report/wholefile.h"

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
    writeWhole(m_output, [&](std::ostream& out) { merger.write(out); });
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
  std::vector<std::string> m_files;
  std::string m_output;
  bool m_complete = false;
};

}  // namespace

std::unique_ptr<Command> makeMerge() { return std::make_unique<Merge>(); }

}  // namespace report
