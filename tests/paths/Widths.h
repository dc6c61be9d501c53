// What is true of narrow and of wide paths is tested once, over both.
#pragma once

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <KivFile/Path.h>

template <class T>
class Widths : public testing::Test
{
protected:
    using Path = KivFile::PathT<T>;
    using String = typename Path::String;

    // ASCII text in the width under test and back.
    static String Text(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }
    static std::string Ascii(const String& text) { return {text.begin(), text.end()}; }

    static Path Of(std::string_view ascii) { return Path(Text(ascii)); }
};

using BothWidths = testing::Types<char, unsigned short>;
