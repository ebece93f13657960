// tazreport info: what files hold.
#include <algorithm>
#include <array>
#include <ostream>

#include "report/command.h"
#include "report/error.h"
#include "report/read.h"
#include "report/text.h"

namespace report {

namespace {

constexpr int kLabel = 12;

class Info : public Command {
 public:
  void declare(Options& options) override {
    options.list("FILE", m_files, 1, "JSON Lines (key -j) or csv tables (key -r) of tazmet");
    options.flag("--facts", m_facts, "Tell everything that is known of the machine");
  }
  int run(const Console& console) override {
    for (const Run& run : readAll(m_files, {.samples = false})) tell(run, console.out);
    return kDone;
  }

 private:
  void tell(const Run& run, std::ostream& out) const;
  std::vector<std::string> m_files;
  bool m_facts = false;
};

void line(std::ostream& out, const std::string& label, const std::string& text) {
  if (!text.empty()) out << "  " << padRight(label, kLabel) << ' ' << text << '\n';
}

std::string resultsText(const Run& run) {
  std::array<std::size_t, 12> counts{};
  for (const Row& row : run.rows) ++counts[static_cast<std::size_t>(row.result)];
  std::string text = counted(run.rows.size(), "row");
  for (std::size_t i = 0; i < counts.size(); ++i) {
    if (counts[i] == 0) continue;
    text +=
        ", " + std::string(resultName(static_cast<Result>(i))) + ' ' + std::to_string(counts[i]);
  }
  if (!run.comparisons.empty()) text += ", " + counted(run.comparisons.size(), "comparison");
  return text;
}

std::string functionsText(const Run& run) {
  std::vector<std::string> names;
  for (const Row& row : run.rows) names.push_back(row.function);
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return std::to_string(names.size());
}

void Info::tell(const Run& run, std::ostream& out) const {
  const Context& context = run.context;
  out << run.file << '\n';
  line(out, "Processor", context.text("processor"));
  line(out, "System", context.text("system"));
  line(out, "Computer", context.text("computer"));
  line(out, "Code path", context.codePath);
  for (const std::string& library : context.libraries) line(out, "Library", library);
  line(out, "Timing", context.timing);
  line(out, "Started", context.started);
  line(out, "Ended", run.end ? run.end->text() : "");
  line(out, "Functions", functionsText(run));
  line(out, "Results", resultsText(run));
  for (const std::string& note : run.notes) line(out, "Note", note);
  if (!m_facts) return;
  for (const Named& setting : context.settings)
    line(out, "Setting", setting.name + " = " + setting.value);
  for (const Fact& found : context.machine) line(out, "Fact", found.name + " = " + found.text);
}

}  // namespace

std::unique_ptr<Command> makeInfo() { return std::make_unique<Info>(); }

}  // namespace report
