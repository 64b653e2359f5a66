using System;

namespace Velquor.WebServices {

/// <summary>The results of the C interface. A later library may have more.</summary>
public enum Result {
    Ok = 0, Failed = 1, Argument = 2, Text = 3, TooLong = 4, Buffer = 5, State = 6, WrongThread = 7, UnknownClient = 8, NotSignedIn = 9,
    Vetoed = 10, NoNetwork = 11, Tls = 12, Clock = 13, Refused = 14, InvalidReply = 15, Signing = 16, NotFound = 17, Unsupported = 18,
    NoLogConfig = 19, NoConfiguration = 20, Expired = 21, Busy = 22, Memory = 23, Internal = 24,
}

/// <summary>A call has failed. The message has the error line of the log, without secrets.</summary>
public class WebServicesException : Exception {
    internal WebServicesException(int code, int httpStatus, string text)
        : base(Describe(code, httpStatus, text)) {
        Code = (Result)code;
        HttpStatus = httpStatus;
    }

    /// <summary>The result; a number without a name when it is unknown here.</summary>
    public Result Code { get; }

    /// <summary>Of the reply of the service; 0 without one.</summary>
    public int HttpStatus { get; }

    internal static WebServicesException For(int code, int httpStatus, string text) {
        switch ((Result)code) {
        case Result.NotSignedIn: case Result.Expired: return new NotSignedInException(code, httpStatus, text);
        case Result.Vetoed: return new VetoedException(code, httpStatus, text);
        case Result.NoNetwork: case Result.Tls: case Result.InvalidReply: return new NetworkException(code, httpStatus, text);
        case Result.Refused: case Result.Clock: return new RefusedException(code, httpStatus, text);
        case Result.NotFound: return new NotFoundException(code, httpStatus, text);
        default: return new WebServicesException(code, httpStatus, text);
        }
    }

    private static string Describe(int code, int httpStatus, string text) {
        var status = httpStatus == 0 ? "" : $" (HTTP status {httpStatus})";
        return string.IsNullOrEmpty(text) ? $"{(Result)code}{status}" : $"{(Result)code}{status}: {text}";
    }
}

/// <summary>The user, or the product, is not signed in, or not any more.</summary>
public sealed class NotSignedInException : WebServicesException {
    internal NotSignedInException(int code, int httpStatus, string text) : base(code, httpStatus, text) {}
}

/// <summary>A handler has refused the sign-out.</summary>
public sealed class VetoedException : WebServicesException {
    internal VetoedException(int code, int httpStatus, string text) : base(code, httpStatus, text) {}
}

/// <summary>The service was not reached, or gave no usable reply.</summary>
public sealed class NetworkException : WebServicesException {
    internal NetworkException(int code, int httpStatus, string text) : base(code, httpStatus, text) {}
}

/// <summary>The service refused the request.</summary>
public sealed class RefusedException : WebServicesException {
    internal RefusedException(int code, int httpStatus, string text) : base(code, httpStatus, text) {}
}

/// <summary>What was asked for does not exist.</summary>
public sealed class NotFoundException : WebServicesException {
    internal NotFoundException(int code, int httpStatus, string text) : base(code, httpStatus, text) {}
}

}
