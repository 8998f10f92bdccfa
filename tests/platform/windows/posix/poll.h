#pragma once
// poll() over one wait handle for the test suites' Windows build: "readable" is "signalled".
#include <windows.h>

#define POLLIN 1

struct vorla_pollfd {
  HANDLE fd;
  short events;
  short revents;
};
#define pollfd vorla_pollfd

inline int poll(vorla_pollfd* fds, unsigned count, int timeoutMs) {
  for (unsigned i = 0; i < count; ++i)
    fds[i].revents = 0;
  if (count != 1)
    return -1;
  if (::WaitForSingleObject(fds[0].fd, timeoutMs < 0 ? INFINITE : DWORD(timeoutMs)) !=
      WAIT_OBJECT_0)
    return 0;
  fds[0].revents = POLLIN;
  return 1;
}
