#pragma once

#include <QString>

namespace Vqws {

class CommandLine;

/// The keys of the product that the tool acts as. Secrets come from a file or the environment. They never come from the command
/// line, since every process of the machine can read it.
struct ClientKeys {
    QString key;
    QString secret;
    QString oauth2Key;
    QString oauth2Secret;
    QString warning; ///< A text for the user; the keys can be used all the same.
    QString error;   ///< Not empty when the keys cannot be used.

    [[nodiscard]] bool isGiven() const { return !key.isEmpty() && !secret.isEmpty(); }
};

/// Reads the keys and removes the secrets from the environment, so that no child process inherits them. Missing keys are empty
/// and not an error. Thread: the main thread, once.
[[nodiscard]] ClientKeys readClientKeys(const CommandLine& line);

} // namespace Vqws
