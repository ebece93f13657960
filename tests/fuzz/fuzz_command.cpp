// Command lines and command files. The first line is the command line, what follows the command
// file: split into keys, then parsed and applied by a session, up to where it would open files.
#include <algorithm>
#include <string>
#include <vector>

#include "apikit.h"
#include "fuzz.h"
#include "tzistream.h"
#include "tzkeys.h"
#include "tzostream.h"
#include "tzsession.h"

namespace {

class Session : public tzSession {
 public:
  // The files that the keys name are anywhere on the machine: they stay closed.
  bool updateOptions() override { return true; }
};

/// The folder in which the session looks for its command file.
const TemporaryFolder& folder() {
  static const TemporaryFolder made;
  return made;
}

void split(const tzString& text) {
  tzCommandList commands;
  commands.setArgs(text);
  for (const tzCommandKey& command : commands) {
    tzString last;
    require(commands.isKey(command.key) && commands.getArg(command.key, last), "a key is found");

    tzCommandList again;
    require(again.setArg(command.word(), nullptr) == 1, "a key written as one word is a key");
    require(again.front().key == command.key && again.front().arg == command.arg,
            "a key written as one word reads back the same");
  }
  for (const tzString& word : commands.refused()) {
    require(!tzCommandList::isKeyWord(word), "no key is refused");
  }
}

void parseAndApply(const std::string& line, const std::string& commandFile) {
  folder().make("program.cfg", commandFile);
  std::vector<std::string> words{folder().path("program").str()};
  tzStringList typed;
  tzString(line).parse(typed, " ");
  for (const tzString& word : typed) words.push_back(word.str());
  std::vector<char*> argv;
  argv.reserve(words.size());
  for (std::string& word : words) argv.push_back(word.data());

  Session session;
  g_session = &session;
  session.initSession();
  require(session.parseCommandLine(static_cast<int>(argv.size()), argv.data()),
          "no key ends the run");
  if (session.isExit(2)) require(session.quickOutput(), "help ends the run");
  g_istrm.clearPresets();
  g_session = nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = asText(data, size);
  split(tzString(text));
  const std::size_t end = std::min(text.find('\n'), text.size());
  parseAndApply(text.substr(0, end), text.substr(std::min(end + 1, text.size())));
  return 0;
}
