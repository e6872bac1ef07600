#pragma once

#include <string_view>

#include "platform/error.h"

namespace tobrel {

// Why a request got no answer.
enum class HTTPFailure {
    badAddress,
    unsupportedScheme,
    unsendableHeader,
    timedOut,
    hostNotFound,
    refused,
    unreachable,
    connectionLost,
    tooManyRedirects,
    redirectedToOtherScheme,
    redirectedToInsecure,
    redirectedToBadAddress,
    proxyNotFound,
    proxyUnreachable,
    proxyRefused,
    notHTTP,
    tooLarge,
    undecodable,
    secureConnectionFailed,
    certificateExpired,
    certificateNotYetValid,
    certificateForOtherName,
    certificateUntrusted,
    trustedCertificatesUnreadable,
    other,
};

// The failure as the platform reports it: one sentence for the user that names the server, or the header that cannot
// be sent. Whatever bytes the name holds, only printable ones pass.
NSError httpError(HTTPFailure failure, std::string_view name);

}  // namespace tobrel
