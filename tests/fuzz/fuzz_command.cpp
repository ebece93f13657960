// Command lines and command files: one text split into keys.
#include "fuzz.h"
#include "tzkeys.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tzCommandList commands;
  commands.setArgs(tzString(asText(data, size)));
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
  return 0;
}
