#pragma once

/// @file
/// The only exported function, and the interface of the object that it returns.

#include <VqWebServices/VqWebServicesGlobal.h>

namespace Velquor::WebServices {

/// A small interface for callers that cannot use the exported classes. The order of the operations is fixed.
///
/// Owner: the library; the caller never deletes it. Thread: any. Errors: the empty text and 0, with one log line.
class IWebServicesManager {
public:
    virtual ~IWebServicesManager() = default;

    /// The name of the signed-in user, empty when nobody is signed in; text buffer rule. Does not wait for the network.
    virtual int GetUserName(wchar_t* buffer, int size) = 0;

    /// When the sign-in expires, in seconds since 1970-01-01 UTC; 0 when it is not known.
    virtual unsigned int GetLoginExpiryDate() = 0;
};

} // namespace Velquor::WebServices

/// The library's object. The library owns it. It is valid while the library is initialized, and null otherwise. Thread: any.
extern "C" VQWEBSERVICES_EXPORT Velquor::WebServices::IWebServicesManager* GetIWebServicesManager();
