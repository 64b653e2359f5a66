#pragma once

/// What nearly every test uses: Qt Test, which brings Qt Core, data tables, threads, times, long forms and files.

#include "TestKit/Files.h"
#include "TestKit/Rows.h"
#include "TestKit/Soak.h"
#include "TestKit/Stopwatch.h"
#include "TestKit/Threads.h"

#include <QtTest>
#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>
