#include "TestKit/AccountServiceProcess.h"

extern "C" void trust_authority(const char* file) {
    Velquor::TestKit::AccountServiceProcess::trust(QString::fromLocal8Bit(file));
}
