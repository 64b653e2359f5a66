#pragma once

// The only place that includes windows.h. winsock2.h must come first, else windows.h brings in its forerunner.
#include <winsock2.h>
#include <ws2tcpip.h>

#include <windows.h>
