// os/socket.h: connections that a server has accepted, by the system's numbers for them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace os {

// Both wait no longer than that, which is more than 0. They give how many bytes it was, of those
// received 0 at their end, or less than 0 if it failed or took too long.
ptrdiff_t receive(int socket, char* bytes, size_t size, int64_t milliseconds);
ptrdiff_t send(int socket, const char* bytes, size_t size, int64_t milliseconds);
// The other side sees the end, and may still send.
void endSending(int socket);
void closeSocket(int socket);

// Before it is bound: no other may listen where it does, and it may where one has just ended.
void listenAlone(int socket);
// Lets so many wait to be accepted.
bool listenAt(int socket, int most);

}  // namespace os
