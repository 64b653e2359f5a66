#pragma once

/// @file
/// The C interface as the library that defines it sees it.

#include <VqWebServices/VqWebServicesExport.h>

#define VQWS_API VQWEBSERVICES_EXPORT
#include <VqWebServices/vqws.h>
