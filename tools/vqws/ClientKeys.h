#pragma once

#include <QString>

namespace Vqws {

class CommandLine;

/// The keys of the product that the tool acts as. Secrets come from a file or the environment, never from the command line,
/// which every process of the machine can read.
struct ClientKeys {
    QString key;
    QString secret;
    QString oauth2Key;
    QString oauth2Secret;
    QString warning; ///< for the user to read; not in the way
    QString error;   ///< not empty when they cannot be used

    [[nodiscard]] bool isGiven() const { return !key.isEmpty() && !secret.isEmpty(); }
};

/// Reads the keys and takes the secrets out of the environment, so that no program that is started inherits them. Keys that are
/// not given are empty and no error. Thread: the main thread, once.
[[nodiscard]] ClientKeys readClientKeys(const CommandLine& line);

} // namespace Vqws
