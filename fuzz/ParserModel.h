// A plain, slow tokenizer over a text in memory, and random programs that run it beside the real one.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <KivBase/BinaryStreamBuf.h>
#include <KivFile/BinaryStreamParser.h>
#include <KivFile/MemoryBuffer.h>
#include <KivFile/StaticMemoryBuffer.h>

namespace parser_test
{

inline char Lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

// What a tokenizer holds after each step. The text comes in blocks, because that is what ignoring zero bytes, trimming
// and seeking depend on; everything else looks at one byte after the other.
class Model
{
public:
    struct TargetOptions {
        std::string trimSet;
        bool ignoreNulls;
        bool spaceForTrim;
    };

    Model(std::string text, std::size_t blockSize, bool isCaseSensitive)
        : caseSensitive(isCaseSensitive), m_text(std::move(text)), m_blockSize(blockSize)
    {
    }

    void Reset()
    {
        m_ahead.clear();
        m_read = 0;
        offset = 0;
        keyword.clear();
        unsaved.clear();
    }

    bool Seek(std::size_t to)
    {
        Reset();
        const std::size_t blockStart = to == 0 ? 0 : (to - 1) / 4096 * 4096;
        m_read = offset = std::min(blockStart, m_text.size());
        return Fetch(to - offset, false, true);
    }

    char Current() { return At(0).value_or(0); }

    bool Fetch(std::size_t count, bool withKeyword, bool clearRecord)
    {
        if (!At(0))
            return false;
        if (withKeyword)
            keyword.clear();
        if (clearRecord)
            record.clear();
        for (; count != 0; --count) {
            if (!At(0))
                return false;
            Pass(1, withKeyword);
        }
        return true;
    }

    bool FetchTo(const std::string& pattern, bool withKeyword, const TargetOptions* options)
    {
        const bool found = Advance([&](std::size_t i) { return Matches(pattern, i); }, withKeyword, options);
        if (found && !pattern.empty())
            Drop(pattern.size() - 1);
        return found;
    }

    bool FetchBeyond(const std::string& pattern, bool withKeyword, const TargetOptions* options)
    {
        return FetchTo(pattern, withKeyword, options) && (pattern.empty() || Fetch(1, false, true));
    }

    bool FetchSet(const std::string& set, bool until, bool withKeyword, const TargetOptions* options)
    {
        const auto stops = [&](std::size_t i) -> std::optional<bool> {
            const auto byte = At(i);
            if (!byte)
                return std::nullopt;
            return until == std::any_of(set.begin(), set.end(), [&](char member) { return Same(member, *byte); });
        };
        return Advance(stops, withKeyword, options);
    }

    bool caseSensitive;
    bool ignoreNulls = false;
    bool recordFetching = false;
    std::size_t offset = 0;
    std::string keyword;
    std::string unsaved;
    std::string record;
    std::optional<std::string> target;

private:
    bool Same(char a, char b) const { return a == b || (!caseSensitive && Lower(a) == Lower(b)); }

    // The i-th byte that is not passed yet.
    std::optional<char> At(std::size_t i)
    {
        if (i >= m_ahead.size() && m_beforeRead)
            m_beforeRead();
        while (i >= m_ahead.size() && m_read < m_text.size()) {
            std::string block = m_text.substr(m_read, m_blockSize);
            m_read += block.size();
            if (ignoreNulls)
                std::erase(block, '\0');
            m_ahead += block;
        }
        return i < m_ahead.size() ? std::optional(m_ahead[i]) : std::nullopt;
    }

    // Whether the pattern is at the i-th byte; nothing where the stream ends before that is known.
    std::optional<bool> Matches(const std::string& pattern, std::size_t i)
    {
        for (std::size_t j = 0; j < pattern.size(); ++j) {
            const auto byte = At(i + j);
            if (!byte && j == 0)
                return std::nullopt;
            if (!byte)
                return false;
            if (j == 0 ? !Same(pattern[0], *byte) : Lower(pattern[j]) != Lower(*byte))
                return false;
        }
        return true;
    }

    // Passes over the bytes before the first at which stops(index) is true.
    bool Advance(const std::function<std::optional<bool>(std::size_t)>& stops, bool withKeyword,
                 const TargetOptions* options)
    {
        keyword.clear();
        record.clear();
        if (!At(0))
            return false;
        std::size_t i = 0;
        std::size_t firstChunk = 0;
        m_beforeRead = [&] {
            if (firstChunk == 0)
                firstChunk = i;
            if (m_read == m_text.size())
                m_beforeRead = nullptr;
        };
        std::optional<bool> stop;
        while ((stop = stops(i)) == false)
            ++i;
        m_beforeRead = nullptr;
        if (options != nullptr)
            AppendToTarget(m_ahead.substr(0, i), firstChunk == 0 ? i : firstChunk, *options);
        Pass(i, withKeyword);
        return stop.has_value();
    }

    void AppendToTarget(std::string passed, std::size_t firstChunk, const TargetOptions& options)
    {
        std::string chunk = passed.substr(0, firstChunk);
        std::string rest = passed.substr(firstChunk);
        if (options.ignoreNulls) {
            std::erase(chunk, '\0');
            std::erase(rest, '\0');
        }
        const std::size_t kept = std::min(chunk.find_first_not_of(options.trimSet), chunk.size());
        const bool blank = kept != 0 && kept != chunk.size() && options.spaceForTrim;
        target = target.value_or("") + (blank ? " " : "") + chunk.substr(kept) + rest;
    }

    void Pass(std::size_t count, bool withKeyword)
    {
        const std::string passed = m_ahead.substr(0, count);
        if (recordFetching)
            record += passed;
        if (withKeyword) {
            const std::string fitting = passed.substr(0, 4096 - keyword.size());
            if (!fitting.empty())
                unsaved.clear();
            keyword += fitting;
            unsaved += passed.substr(fitting.size());
            unsaved.erase(0, unsaved.size() - std::min<std::size_t>(unsaved.size(), 128));
        }
        Drop(count);
    }

    void Drop(std::size_t count)
    {
        m_ahead.erase(0, count);
        offset += count;
    }

    std::string m_text;
    std::size_t m_blockSize;
    std::size_t m_read = 0;
    std::string m_ahead;
    std::function<void()> m_beforeRead;
};

// Numbers drawn from the bytes of a program; 0 when they are used up.
class Draw
{
public:
    explicit Draw(std::string_view bytes) : m_bytes(bytes) {}

    [[nodiscard]] bool IsEmpty() const { return m_bytes.empty(); }

    std::size_t Below(std::size_t limit)
    {
        std::size_t number = 0;
        for (std::size_t range = 1; range < limit; range *= 256)
            number = number * 256 + Byte();
        return number % limit;
    }

    bool Flag() { return Below(2) != 0; }

    // A few bytes that meet each other often: letters in both cases, a delimiter, a blank, zero, a byte above ASCII.
    std::string Text(std::size_t length)
    {
        static constexpr char ALPHABET[] = "aAbB; \0\xE4";
        std::string text;
        while (text.size() < length)
            text += ALPHABET[Below(sizeof ALPHABET - 1)];
        return text;
    }

private:
    std::size_t Byte()
    {
        if (m_bytes.empty())
            return 0;
        const auto byte = static_cast<unsigned char>(m_bytes.front());
        m_bytes.remove_prefix(1);
        return byte;
    }

    std::string_view m_bytes;
};

// Gives no more than a piece at a time.
class PiecesBuffer final : public Kiv::BinaryStreamBufWrapper
{
public:
    PiecesBuffer(Kiv::BinaryStreamBufT<unsigned int>& buffer, std::size_t piece)
        : BinaryStreamBufWrapper(buffer), m_piece(static_cast<unsigned int>(piece))
    {
    }

protected:
    unsigned int vGet(void* dst, unsigned int n) override
    {
        return BinaryStreamBufWrapper::vGet(dst, std::min(n, m_piece));
    }

private:
    unsigned int m_piece;
};

// One stream, read by the model and by the real tokenizer, and what differs between them.
class Race
{
public:
    Race(const std::string& text, std::size_t piece, bool caseSensitive)
        : m_model(text, std::min<std::size_t>(piece, 4096), caseSensitive), m_text(text),
          m_memory(static_cast<const void*>(m_text.data()), static_cast<unsigned int>(m_text.size())),
          m_buffer(m_memory, piece), m_parser(m_buffer, caseSensitive)
    {
    }

    // Does one random step with both. Returns what the step was and how they differ after it; empty where they agree.
    std::string Step(Draw& draw)
    {
        const std::size_t kind = draw.Below(12);
        const bool keyword = draw.Flag();
        const bool look = draw.Flag();
        bool model = true;
        bool real = true;
        if (kind < 4)
            Control(kind, draw);
        else if (kind == 4) {
            const std::size_t offset = draw.Below(m_text.size() + 4100);
            model = m_model.Seek(offset);
            real = m_parser.Seek(static_cast<unsigned int>(offset));
        } else if (kind == 5) {
            const std::size_t count = draw.Flag() ? draw.Below(8) : draw.Below(9000);
            const bool clearRecord = draw.Flag();
            model = m_model.Fetch(count, keyword, clearRecord);
            real = m_parser.Fetch(static_cast<unsigned int>(count), keyword, clearRecord);
        } else if (kind < 9)
            FetchPlain(kind - 6, draw, keyword, model, real);
        else
            FetchInto(kind - 9, draw, model, real);
        return Differences(kind, model, real, look);
    }

private:
    void Control(std::size_t kind, Draw& draw)
    {
        const bool flag = draw.Flag();
        if (kind == 0) {
            m_parser.SetCaseSensitive(m_model.caseSensitive = flag);
        } else if (kind == 1) {
            m_parser.IgnoreNulls(m_model.ignoreNulls = flag);
        } else if (kind == 2) {
            m_parser.SetRecordFetching(m_model.recordFetching = flag);
            if (!flag)
                m_model.record.clear();
        } else if (flag) {
            m_model.Reset();
            m_parser.Reset();
        } else {
            m_model.target.reset();
            m_target = nullptr;
        }
    }

    // A piece of the text with the case of some letters changed, or any few bytes.
    std::string Pattern(Draw& draw)
    {
        const std::size_t length = draw.Below(8) != 0 ? draw.Below(6) : draw.Below(9000);
        if (draw.Below(4) == 0)
            return draw.Text(std::min<std::size_t>(length, 8));
        std::string pattern = m_text.substr(draw.Below(m_text.size() + 1), length);
        if (m_model.ignoreNulls)
            std::erase(pattern, '\0');
        if (!pattern.empty() && draw.Flag())
            pattern[pattern.size() / 2] = Lower(pattern[pattern.size() / 2]);
        if (!pattern.empty() && draw.Below(4) == 0)
            pattern.back() = '!';
        return pattern;
    }

    // A few bytes, or more than are compared one by one.
    static std::string Set(Draw& draw) { return draw.Text(draw.Below(5)) + (draw.Flag() ? "0123456789" : ""); }

    void FetchPlain(std::size_t kind, Draw& draw, bool keyword, bool& model, bool& real)
    {
        const bool variant = draw.Flag();
        const bool intoString = draw.Flag();
        const std::string text = kind == 2 ? Set(draw) : Pattern(draw);
        std::string out = "old";
        keyword = keyword || intoString;
        const auto run = [&](const auto& fetch) { real = intoString ? fetch(out) : fetch(keyword); };
        if (kind == 2) {
            model = m_model.FetchSet(text, variant, keyword, nullptr);
            run([&](auto& how) {
                return variant ? m_parser.FetchUntil(text, how) : m_parser.FetchUntilNot(text, how);
            });
        } else if (kind == 1) {
            model = m_model.FetchBeyond(text, keyword, nullptr);
            run([&](auto& how) { return m_parser.FetchBeyond(text, how); });
        } else {
            model = m_model.FetchTo(text, keyword, nullptr);
            const bool isByte = variant && text.size() == 1;
            run([&](auto& how) {
                return isByte ? m_parser.FetchTo(static_cast<unsigned char>(text[0]), how)
                              : m_parser.FetchTo(text, how);
            });
        }
        Compare(!intoString || out == m_model.keyword, " out");
    }

    void FetchInto(std::size_t kind, Draw& draw, bool& model, bool& real)
    {
        std::string trimSet = draw.Text(draw.Below(3));
        std::erase(trimSet, '\0');
        const Model::TargetOptions options{trimSet, draw.Flag(), draw.Flag()};
        const bool variant = draw.Flag();
        const std::string text = kind == 2 ? Set(draw) : Pattern(draw);
        const auto run = [&](auto fetch) {
            real = (m_parser.*fetch)(m_target, text, trimSet.c_str(), options.ignoreNulls, options.spaceForTrim);
        };
        if (kind == 0) {
            model = m_model.FetchTo(text, false, &options);
            run(&KivFile::BinaryStreamParser::FetchIntoTo);
        } else if (kind == 1) {
            model = m_model.FetchBeyond(text, false, &options);
            run(&KivFile::BinaryStreamParser::FetchIntoBeyond);
        } else {
            model = m_model.FetchSet(text, variant, false, &options);
            run(variant ? &KivFile::BinaryStreamParser::FetchIntoUntil
                        : &KivFile::BinaryStreamParser::FetchIntoUntilNot);
        }
    }

    std::string Differences(std::size_t kind, bool model, bool real, bool look)
    {
        std::string record;
        m_parser.GetRecordFetchingContent(record, 0, 0);
        std::optional<std::string> target;
        if (m_target) {
            target.emplace();
            m_target->SeekG(0);
            m_target->Copy(*target, m_target->Size());
        }
        Compare(real == model, " result");
        Compare(record == m_model.record && record.size() == m_parser.GetRecordFetchingSize(), " record");
        Compare(target == m_model.target, " target");
        Compare(m_model.offset == m_parser.GetCurrentStreamOffset(), " offset");
        Compare(m_model.keyword == std::string(m_parser.GetKeywordBuffer(), m_parser.GetKeywordLen()), " keyword");
        Compare(m_parser.GetKeywordBuffer()[m_parser.GetKeywordLen()] == 0, " terminator");
        Compare(m_model.unsaved == std::string(m_parser.GetUnsavedData(), m_parser.GetUnsavedDataLen()), " unsaved");
        Compare(!look || m_model.Current() == static_cast<char>(m_parser.GetCurrentChar()), " byte");
        return m_difference.empty() ? "" : "step of kind " + std::to_string(kind) + ":" + m_difference;
    }

    void Compare(bool same, const char* what)
    {
        if (!same)
            m_difference += what;
    }

    Model m_model;
    const std::string m_text;
    KivFile::StaticMemoryBuffer m_memory;
    PiecesBuffer m_buffer;
    KivFile::BinaryStreamParser m_parser;
    Kiv::RefCount<KivFile::MemoryBuffer> m_target;
    std::string m_difference;
};

// Runs the program that the bytes are. Returns the first difference, empty where there is none.
inline std::string RunProgram(std::string_view bytes)
{
    Draw draw(bytes);
    // A short piece, over and over, so that a block's end meets every place of it.
    const bool caseSensitive = draw.Flag();
    const std::size_t size = draw.Below(13000);
    const std::string piece = draw.Text(1 + draw.Below(12));
    std::string text = std::string(draw.Below(20), 'x');
    while (text.size() < size)
        text += piece;
    for (std::size_t changes = draw.Below(6); changes != 0 && !text.empty(); --changes)
        text.replace(draw.Below(text.size()), 1, draw.Text(1));
    Race race(text, draw.Flag() ? 4096 : 1 + draw.Below(5000), caseSensitive);
    while (!draw.IsEmpty()) {
        if (std::string difference = race.Step(draw); !difference.empty())
            return difference;
    }
    return "";
}

} // namespace parser_test
