#pragma once

/// @file
/// The one exported function, and the interface of the object that it hands out.

#include <VqWebServices/VqWebServicesGlobal.h>

namespace Velquor::WebServices {

/// The little that callers need who cannot use the exported classes. The order of the operations is fixed.
///
/// Owner: the library; never deleted by the caller. Thread: any. Errors: the empty text and 0, with one log line.
class IWebServicesManager {
public:
    virtual ~IWebServicesManager() = default;

    /// The name of the signed-in user, empty when nobody is signed in; text buffer rule. Does not wait for the network.
    virtual int GetUserName(wchar_t* buffer, int size) = 0;

    /// When the sign-in expires, in seconds since 1970-01-01 UTC; 0 when it is not known.
    virtual unsigned int GetLoginExpiryDate() = 0;
};

} // namespace Velquor::WebServices

/// The library's object, owned by the library and valid while the library is initialized; null otherwise. Thread: any.
extern "C" VQWEBSERVICES_EXPORT Velquor::WebServices::IWebServicesManager* GetIWebServicesManager();
