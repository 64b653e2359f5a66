#pragma once

#include <QByteArray>
#include <VqWebServices/vqws.h>
#include <functional>
#include <vector>

/// One row for each function of the C interface that a table can call.

/// The arguments that the functions have in common, and how much of them a row uses.
struct CallArguments {
    const char* key = nullptr;
    size_t keyLength = 0;
    char* buffer = nullptr;
    size_t capacity = 0;
    size_t* length = nullptr;
    int32_t* number = nullptr;
    int64_t* large = nullptr;
    /// The row's own text argument is this one instead of a right one.
    bool hasText = false;
    const char* text = nullptr;
    size_t textLength = 0;

    [[nodiscard]] vqws_text textOr(const char* right) const {
        return hasText ? vqws_text{text, textLength} : vqws_text{right, right ? VQWS_Z : 0};
    }
};

struct CallRow {
    enum Tells { Nothing, Text, Number, Large };

    const char* name;
    std::function<int32_t(const CallArguments&)> call;
    Tells tells;
    bool hasKey;
    bool takesText;
    /// The results before the start, before the sign-in, after it, and for an unknown key.
    int32_t early;
    int32_t idle;
    int32_t known;
    int32_t unknown;
    /// What a call that succeeds after the sign-in tells: the number, or the beginning of the text. -1: any.
    int64_t number = -1;
    const char* begins = "";
};

[[nodiscard]] const std::vector<CallRow>& callTable();
