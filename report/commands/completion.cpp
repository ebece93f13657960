// tazreport completion: the words that a shell may offer, from what the subcommands themselves
// declare.
#include <ostream>

#include "report/command.h"
#include "report/error.h"
#include "report/text.h"

namespace report {

namespace {

std::string joined(const std::vector<std::string>& words) {
  std::string all;
  for (const std::string& word : words) all += (all.empty() ? "" : " ") + word;
  return all;
}

// Takes down names and words instead of values.
class Words : public Options {
 public:
  struct Option {
    std::vector<std::string> names;
    std::string words;  ///< that may follow, where they are known
    bool takesValue = true;
  };

  void flag(const char* name, bool&, const char*) override {
    add(name);
    if (!m_options.empty()) m_options.back().takesValue = false;
  }
  void text(const char* name, std::string&, const char*) override { add(name); }
  void number(const char* name, double&, double, double, const char*) override { add(name); }
  void choice(const char* name, std::string&, std::vector<std::string> words,
              const char*) override {
    add(name);
    m_options.back().words = joined(words);
  }
  void list(const char* name, std::vector<std::string>&, int, const char*) override { add(name); }
  void require() override {}
  void offer(const std::vector<std::string>& words) override { m_first = joined(words); }

  const std::vector<Option>& options() const { return m_options; }
  const std::string& first() const { return m_first; }

 private:
  void add(const std::string& name) {
    if (name.starts_with('-')) m_options.push_back({split(name, ','), "", true});
  }
  std::vector<Option> m_options;
  std::string m_first;  // what the first word without an option may be
};

class Completion : public Command {
 public:
  void declare(Options&) override {}
  int run(const Console& console) override;
};

void writeCommand(std::ostream& out, const CommandEntry& entry) {
  Words words;
  const auto command = entry.make();
  command->declare(words);
  std::string names = "--help";
  for (const Words::Option& option : words.options()) {
    for (const std::string& name : option.names) {
      names += ' ' + name;
      if (!option.words.empty()) {
        out << "    \"" << entry.name << ' ' << name << "\") words=\"" << option.words << "\" ;;\n";
      }
    }
  }
  out << "    \"" << entry.name << " \"*) [[ $current == -* ]] && words=\"" << names << "\"";
  if (!words.first().empty()) {
    out << " || { ((COMP_CWORD == 2)) && words=\"" << words.first() << "\"; }";
  }
  out << " ;;\n";
}

int Completion::run(const Console& console) {
  std::string all = "--help --version";
  for (const CommandEntry& entry : commands()) all += ' ' + std::string(entry.name);
  console.out
      << "# bash completion for tazreport. Where no words are known, files are offered.\n"
         "_tazreport() {\n"
         "  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} words=\n"
         "  COMPREPLY=()\n"
         "  ((COMP_CWORD == 1)) && before=\n"
         "  case \"${COMP_WORDS[1]-} $before\" in\n"
         "    *\" \") words=\""
      << all << "\" ;;\n";
  for (const CommandEntry& entry : commands()) writeCommand(console.out, entry);
  console.out
      << "  esac\n"
         "  [[ -n $words ]] && mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
         "  return 0\n"
         "}\n"
         "complete -o default -F _tazreport tazreport\n";
  return kDone;
}

}  // namespace

std::unique_ptr<Command> makeCompletion() { return std::make_unique<Completion>(); }

}  // namespace report
