// Every text up to a length, for rules that short texts can break.
#pragma once

#include <gtest/gtest.h>

// Calls check with every text of up to length more characters of the alphabet behind text.
template <class Text, class Check>
void ForAllTexts(const Text& alphabet, std::size_t length, const Check& check, Text text = {})
{
    check(text);
    for (std::size_t i = 0; i < alphabet.size() && length > 0 && !testing::Test::HasFatalFailure(); ++i) {
        text.push_back(alphabet[i]);
        ForAllTexts(alphabet, length - 1, check, text);
        text.pop_back();
    }
}
