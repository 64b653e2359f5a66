#pragma once

// The only file that includes windows.h. winsock2.h must be first: otherwise windows.h includes the older winsock.h.
#include <winsock2.h>
#include <ws2tcpip.h>

#include <windows.h>
