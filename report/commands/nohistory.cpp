// tazreport history where it was built without a database library.
#include "report/command.h"
#include "report/error.h"
#include "report/overtime.h"

namespace report {

namespace {

constexpr const char* kNone = "history: this build has none: it was made without libsoci-dev";

class NoHistory : public Command {
 public:
  void declare(Options& options) override {
    options.list("ACTION", m_words, 0, "not in this build: it was made without libsoci-dev");
  }
  int run(const Console&) override { throw Error(kNone); }

 private:
  std::vector<std::string> m_words;
};

}  // namespace

std::unique_ptr<Command> makeHistory() { return std::make_unique<NoHistory>(); }

OverTime historyOf(const std::string&, const std::vector<Run>&) { throw Error(kNone); }

}  // namespace report
