#pragma once

#include <QtGlobal>

/// Shared by the encoder and the decoder of messages. Thread: any.
namespace Velquor::Util::MessageTags {

/// How deep maps and lists may be nested.
constexpr int greatestDepth = 8;

/// The kinds of values. The numbers are part of the format and never change.
enum class Tag : quint8 {
    None = 0,
    Bool = 1,
    Int = 2,
    UInt = 3,
    LongLong = 4,
    ULongLong = 5,
    Double = 6,
    Text = 7,
    Bytes = 8,
    UtcTime = 9,
    LocalTime = 10,
    OffsetTime = 11,
    Texts = 12,
    Map = 13,
    NoTime = 14,
    List = 15,
};

} // namespace Velquor::Util::MessageTags
