// What other processes send, and the shared block that they write.

#include "FuzzTargets.h"
#include "VqUtil/Messaging/MessageCodec.h"
#include "VqUtil/Messaging/MessageFrame.h"
#include "VqUtil/ProcessState/ProcessStateCodec.h"

namespace Velquor::Tests {

using namespace Util;

void readMessage(const QByteArray& input) {
    const std::optional<MessageCodec::Message> message = MessageCodec::decode(input);
    if (!message)
        return;
    const std::optional<QByteArray> bytes = MessageCodec::encode(*message);
    requireRule(bytes.has_value(), "a message that was read can be sent");
    const std::optional<MessageCodec::Message> again = MessageCodec::decode(*bytes);
    requireRule(again && MessageCodec::encode(*again) == bytes, "a message arrives as it was sent");
}

// The first byte is the size of the pieces in which the stream arrives.
void readFrames(const QByteArray& input) {
    const int piece = input.isEmpty() ? 1 : qMax(1, int(static_cast<uchar>(input.at(0))));
    MessageFrameReader whole;
    MessageFrameReader pieces;
    whole.add(input.mid(1));
    MessageFrame expected;
    MessageFrame found;
    int place = 1;
    while (true) {
        const MessageFrameReader::Result result = whole.next(&expected);
        MessageFrameReader::Result own = pieces.next(&found);
        for (; own == MessageFrameReader::Result::Incomplete && place < input.size(); place += piece) {
            pieces.add(input.mid(place, piece));
            own = pieces.next(&found);
        }
        requireRule(own == result, "a stream reads the same in pieces");
        if (result != MessageFrameReader::Result::Whole)
            return;
        requireRule(found.content == expected.content && found.id == expected.id, "a frame arrives as it was sent");
    }
}

void readBlock(const QByteArray& input) {
    const ProcessStateCodec::Decoded block = ProcessStateCodec::decode(input);
    requireRule(block.used <= input.size() && block.examined <= input.size(), "a block is read within its bounds");
    requireRule(block.records.size() * 12 <= input.size(), "no record is made of nothing");
    const QByteArray other = input.left(block.examined) + QByteArray(block.examined < input.size() ? 50 : 0, '\x5a');
    requireRule(ProcessStateCodec::decode(other).records == block.records, "only the examined bytes count");
    const QByteArray bytes = ProcessStateCodec::encode(block.records, input.size());
    requireRule(ProcessStateCodec::decode(bytes).records == block.records, "a block is read as it was written");
}

} // namespace Velquor::Tests
