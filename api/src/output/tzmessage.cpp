// A kind, a length and as many bytes.
#include "tzmessage.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

void tzSend(int file, char kind, const tzPacket& packet) {
  tzPacket message;
  message << kind << packet.bytes();
  const std::string& bytes = message.bytes();
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t count = write(file, bytes.data() + done, bytes.size() - done);
    if (count > 0) done += static_cast<std::size_t>(count);
    if (count < 0 && errno != EINTR) return;
  }
}

namespace {

tzReceived receive(int file, double seconds, char* bytes, std::size_t length) {
  while (length > 0) {
    if (seconds > 0) {
      pollfd waited{file, POLLIN, 0};
      const int ready = poll(&waited, 1, static_cast<int>(seconds * 1000));
      if (ready < 0) return RECEIVED_SIGNAL;
      if (ready == 0) return RECEIVED_NOTHING;
    }
    const ssize_t count = read(file, bytes, length);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return RECEIVED_END;
    bytes += count;
    length -= static_cast<std::size_t>(count);
  }
  return RECEIVED;
}

}  // namespace

tzReceived tzReceive(int file, double seconds, char& kind, tzPacket& packet) {
  constexpr std::size_t kLongest = std::size_t{1} << 28;
  std::string head(1 + sizeof(std::size_t), 0);
  if (const tzReceived end = receive(file, seconds, head.data(), head.size())) return end;
  std::size_t length = 0;
  tzPacket(head) >> kind >> length;
  if (length > kLongest) return RECEIVED_END;
  std::string body(length, 0);
  if (const tzReceived end = receive(file, seconds, body.data(), length)) return end;
  packet = tzPacket(std::move(body));
  return RECEIVED;
}
