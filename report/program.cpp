// The command line. The only source that knows the library that parses it.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <ostream>

#include "report/command.h"
#include "report/error.h"
#include "report/text.h"

namespace report {

namespace {

class AppOptions : public Options {
 public:
  explicit AppOptions(CLI::App& app) : m_app(app) {}

  void flag(const char* name, bool& value, const char* help) override {
    m_last = m_app.add_flag(name, value, help);
  }
  void text(const char* name, std::string& value, const char* help) override {
    m_last = m_app.add_option(name, value, help)->type_name("TEXT");
  }
  void number(const char* name, double& value, double low, double high, const char* help) override {
    m_last = m_app.add_option(name, value, help)->check(CLI::Range(low, high))->type_name("NUMBER");
  }
  void choice(const char* name, std::string& value, std::vector<std::string> words,
              const char* help) override {
    std::string type;
    for (const std::string& word : words) type += (type.empty() ? "" : "|") + word;
    const auto check = [words](std::string& given) -> std::string {
      for (const std::string& word : words) {
        if (containsWord(word, given) && word.size() == given.size()) {
          given = word;
          return {};
        }
      }
      return "there is no " + given;
    };
    m_last = m_app.add_option(name, value, help)->transform(CLI::Validator(check, type));
    m_last->type_name("");
  }
  void list(const char* name, std::vector<std::string>& values, int least,
            const char* help) override {
    m_last = m_app.add_option(name, values, help)->expected(-1);
    m_last->type_name(*name == '-' ? "FILE" : "");
    if (least > 0) m_last->required();
  }
  void require() override { m_last->required(); }

 private:
  CLI::App& m_app;
  CLI::Option* m_last = nullptr;
};

std::string oneLine(const std::string& text) { return cleanText(text.substr(0, text.find('\n'))); }

int parseAndRun(const std::vector<std::string>& words, const Console& console) {
  CLI::App app("Reads what tazmet wrote: tables, comparisons, pages.", "tazreport");
  app.set_version_flag("--version", "tazreport " TAZMET_VERSION);
  app.require_subcommand(1);
  app.footer("Exit codes: 0 done, 1 something is slower, 2 error. See tazreport(1).");
  std::vector<std::pair<CLI::App*, std::unique_ptr<Command>>> all;
  for (const CommandEntry& entry : commands()) {
    CLI::App* sub = app.add_subcommand(entry.name, entry.help);
    all.emplace_back(sub, entry.make());
    AppOptions options(*sub);
    all.back().second->declare(options);
  }
  if (!words.empty() && !words[0].starts_with('-')) {
    const auto isAsked = [&](const CommandEntry& entry) { return words[0] == entry.name; };
    if (std::none_of(commands().begin(), commands().end(), isAsked)) {
      throw Error("there is no subcommand " + words[0] + " (see tazreport --help)");
    }
  }
  try {
    app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
  } catch (const CLI::Success& asked) {
    app.exit(asked, console.out, console.err);
    return kDone;
  } catch (const CLI::ParseError& error) {
    throw Error(oneLine(error.what()) + " (see tazreport --help)");
  }
  for (const auto& [sub, command] : all) {
    if (sub->parsed()) return command->run(console);
  }
  return kFailed;
}

}  // namespace

int runProgram(const std::vector<std::string>& words, const Console& console) {
  int code = kFailed;
  std::string reason;
  try {
    code = parseAndRun(words, console);
    errno = 0;
    if (!console.out.flush()) reason = std::string("standard output: ") + std::strerror(errno);
  } catch (const Error& error) {
    reason = error.what();
  } catch (const std::bad_alloc&) {
    reason = "not enough memory";
  } catch (const std::exception& error) {
    reason = error.what();
  }
  if (reason.empty()) return code;
  // Names of files may hold anything.
  console.err << "tazreport: " << cleanText(reason) << "\n";
  return kFailed;
}

}  // namespace report
