#include "VqUtil/Platform/ProcessEnd.h"

#include "VqUtil/Platform/Windows/WindowsApi.h"

namespace Velquor::Util {

void callAtProcessEnd(void (*)()) {
    HMODULE self = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<LPCWSTR>(&callAtProcessEnd), &self);
}

bool isForkedChild() {
    return false;
}

} // namespace Velquor::Util
