// os/socket_posix.cpp: connections on Linux.
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "os/socket.h"

namespace os {
namespace {

bool waitsFor(int64_t milliseconds, int socket, int option) {
  const timeval time = {milliseconds / 1000, milliseconds % 1000 * 1000};
  return ::setsockopt(socket, SOL_SOCKET, option, &time, sizeof time) == 0;
}

}  // namespace

ptrdiff_t receive(int socket, char* bytes, size_t size, int64_t milliseconds) {
  return waitsFor(milliseconds, socket, SO_RCVTIMEO) ? ::recv(socket, bytes, size, 0) : -1;
}

ptrdiff_t send(int socket, const char* bytes, size_t size, int64_t milliseconds) {
  return waitsFor(milliseconds, socket, SO_SNDTIMEO) ? ::send(socket, bytes, size, MSG_NOSIGNAL)
                                                     : -1;
}

void endSending(int socket) { ::shutdown(socket, SHUT_WR); }

void closeSocket(int socket) { ::close(socket); }

void listenAlone(int socket) {
  const int yes = 1;
  ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

bool listenAt(int socket, int most) { return ::listen(socket, most) == 0; }

}  // namespace os
