#include <KivFile/BinaryStreamParser.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include <src/ByteScan.h>

namespace KivFile
{

namespace
{

constexpr unsigned int EVERYTHING = std::numeric_limits<unsigned int>::max();
constexpr unsigned int RECORD_BLOCK_SIZE = 1024;
constexpr unsigned int LARGEST_TARGET_BLOCK_SIZE = 4096;
// A target that is still being filled will need more than its first bytes.
constexpr unsigned int UNFINISHED_TARGET_BLOCK_SIZE = 128;

constexpr std::uint32_t READ_AND_WRITE =
    Kiv::BinaryStreamBufT<unsigned int>::READABLE | Kiv::BinaryStreamBufT<unsigned int>::WRITABLE;

unsigned int Distance(const unsigned char* first, const unsigned char* last)
{
    return static_cast<unsigned int>(last - first);
}

// Where a rule ends in a span: everything before end is passed over. Where it did not stop, the bytes from end on are
// to be looked at again with those that follow the span.
struct Stop {
    const unsigned char* end;
    bool stopped;
};

// Stops where it begins.
struct EmptyRule {
    Stop operator()(const unsigned char* first, const unsigned char*) const { return {first, true}; }
};

struct ByteRule {
    Stop operator()(const unsigned char* first, const unsigned char* last) const
    {
        const unsigned char* const found = ByteScan::Find(first, last, byte);
        return {found, found != last};
    }

    const ByteScan::ByteChoice& byte;
};

bool EqualIgnoringCase(const unsigned char* bytes, std::string_view text)
{
    return std::equal(text.begin(), text.end(), bytes, [](char a, unsigned char b) {
        const auto byte = static_cast<unsigned char>(a);
        return byte == b || ByteScan::OtherCase(byte) == b;
    });
}

// A pattern of at least two bytes.
struct PatternRule {
    PatternRule(std::string_view text, bool foldFirst)
        : pattern(text), head(static_cast<unsigned char>(text[0]), foldFirst),
          next(static_cast<unsigned char>(text[1]), true)
    {
    }

    Stop operator()(const unsigned char* first, const unsigned char* last) const
    {
        for (;; ++first) {
            first = ByteScan::FindPair(first, last, head, next);
            const auto length = std::min(pattern.size(), static_cast<std::size_t>(last - first));
            if (length < 2 || EqualIgnoringCase(first + 1, pattern.substr(1, length - 1)))
                return {first, length == pattern.size()};
        }
    }

    std::string_view pattern;
    ByteScan::ByteChoice head;
    ByteScan::ByteChoice next;
};

// Stops on the first byte that is in the set, or the first that is not.
struct SetRule {
    Stop operator()(const unsigned char* first, const unsigned char* last) const
    {
        const unsigned char* const found = set.Find(first, last, isMember);
        return {found, found != last};
    }

    const ByteScan::ByteSet& set;
    bool isMember;
};

void WriteWithoutNulls(MemoryBuffer& buffer, const unsigned char* first, const unsigned char* last)
{
    while (first != last) {
        const unsigned char* const null = ByteScan::FindByte(first, last, 0);
        buffer.Write(first, Distance(first, null));
        first = std::find_if(null, last, [](unsigned char byte) { return byte != 0; });
    }
}

} // namespace

// ---- Where fetched bytes go ---------------------------------------------------------------------------------

// The caller's buffer of a FetchInto form, for one call.
class BinaryStreamParser::Target
{
public:
    Target(Kiv::RefCount<MemoryBuffer>& into, const char* trimSet, bool ignoreNulls, bool spaceForTrim)
        : m_into(into), m_trimSet(trimSet != nullptr ? trimSet : ""), m_ignoreNulls(ignoreNulls),
          m_spaceForTrim(spaceForTrim)
    {
    }

    void Append(const unsigned char* first, const unsigned char* last, bool stopped)
    {
        if (!m_into)
            m_into = Kiv::MakeShared<MemoryBuffer>(BlockSizeFor(Distance(first, last), stopped));
        if (first == last)
            return;
        if (!std::exchange(m_trimmed, true))
            first = Trim(first, last);
        if (m_ignoreNulls)
            WriteWithoutNulls(*m_into, first, last);
        else
            m_into->Write(first, Distance(first, last));
    }

private:
    static unsigned int BlockSizeFor(unsigned int count, bool stopped)
    {
        const unsigned int size = std::min(count + 1, LARGEST_TARGET_BLOCK_SIZE);
        return stopped ? size : std::max(size, UNFINISHED_TARGET_BLOCK_SIZE);
    }

    // Returns where the bytes that are kept begin, and writes the blank that stands for those before them.
    const unsigned char* Trim(const unsigned char* first, const unsigned char* last)
    {
        bool skipped = false;
        for (; first != last; ++first) {
            const bool trimmed = m_trimSet.find(static_cast<char>(*first)) != std::string_view::npos;
            if (!trimmed && !(m_ignoreNulls && *first == 0))
                break;
            skipped = skipped || trimmed;
        }
        if (skipped && m_spaceForTrim && first != last)
            m_into->Write(" ", 1);
        return first;
    }

    Kiv::RefCount<MemoryBuffer>& m_into;
    const std::string_view m_trimSet;
    const bool m_ignoreNulls;
    const bool m_spaceForTrim;
    bool m_trimmed = false;
};

void BinaryStreamParser::KeywordSafeAppend(const unsigned char* bytes, std::size_t count)
{
    const std::size_t fitting = std::min<std::size_t>(count, KEYWORD_CAPACITY - m_keywordLength);
    if (fitting != 0) {
        std::memcpy(m_keyword.data() + m_keywordLength, bytes, fitting);
        m_keywordLength += static_cast<unsigned int>(fitting);
        m_keyword[m_keywordLength] = 0;
        m_unsavedLength = 0;
    }
    if (fitting != count)
        KeepUnsaved(bytes + fitting, count - fitting);
}

// Passes over the bytes up to where a rule ended.
void BinaryStreamParser::StoreFetchedData(const unsigned char* end, bool stopped, bool keyword, Target* target)
{
    const auto count = static_cast<std::size_t>(end - m_position);
    if (target != nullptr)
        target->Append(m_position, end, stopped);
    if (keyword)
        KeywordSafeAppend(m_position, count);
    if (m_recordFetching)
        RecordAppend(m_position, count);
    m_position = end;
}

// The oldest bytes make room for the newest.
void BinaryStreamParser::KeepUnsaved(const unsigned char* bytes, std::size_t count)
{
    const std::size_t taken = std::min<std::size_t>(count, UNSAVED_CAPACITY);
    const std::size_t kept = std::min<std::size_t>(m_unsavedLength, UNSAVED_CAPACITY - taken);
    std::memmove(m_unsaved.data(), m_unsaved.data() + m_unsavedLength - kept, kept);
    std::memcpy(m_unsaved.data() + kept, bytes + count - taken, taken);
    m_unsavedLength = static_cast<unsigned int>(kept + taken);
}

void BinaryStreamParser::RecordAppend(const unsigned char* bytes, std::size_t count)
{
    if (count == 0)
        return;
    if (!m_record)
        m_record = Kiv::MakeShared<MemoryBuffer>(RECORD_BLOCK_SIZE);
    m_record->Write(bytes, static_cast<unsigned int>(count));
}

void BinaryStreamParser::ClearRecord()
{
    if (m_record)
        m_record->Clear();
}

// What was searched for last, in forms to search with.
struct BinaryStreamParser::Searches {
    void Restart(const unsigned char* position)
    {
        byte.Restart(position);
        until.Restart(position);
        untilNot.Restart(position);
    }

    ByteScan::NearSearch<ByteScan::ByteChoice> byte;
    ByteScan::NearSearch<ByteScan::ByteSet> until;
    ByteScan::NearSearch<ByteScan::ByteSet, false> untilNot;
};

// ---- Reading ------------------------------------------------------------------------------------------------

BinaryStreamParser::BinaryStreamParser(Kiv::BinaryStreamBufT<unsigned int>& buffer, bool caseSensitive)
    : m_buffer(buffer), m_storage(2 * BLOCK_SIZE + ByteScan::WINDOW), m_block(m_storage.data() + BLOCK_SIZE),
      m_position(m_block), m_end(m_block), m_searches(std::make_unique<Searches>()), m_caseSensitive(caseSensitive)
{
    Reset();
}

BinaryStreamParser::BinaryStreamParser(Kiv::BinaryStreamT<unsigned int>& stream, bool caseSensitive)
    : BinaryStreamParser(stream.Buffer(), caseSensitive)
{
}

BinaryStreamParser::~BinaryStreamParser() = default;

void BinaryStreamParser::Reset()
{
    m_position = m_end = m_block;
    m_searches->Restart(m_position);
    ClearFetchingBuffer();
    m_unsavedLength = 0;
    m_endOffset = m_blockEndOffset = 0;
    m_buffer.DropPutBack();
    m_buffer.SeekG(0);
}

bool BinaryStreamParser::Seek(unsigned int offset)
{
    Reset();
    if ((m_buffer.Mode() & READ_AND_WRITE) == READ_AND_WRITE && offset != 0) {
        const unsigned int blockStart = (offset - 1) / BLOCK_SIZE * BLOCK_SIZE;
        // Behind the end there is nothing to be sought; the fetch below then says so. A stream that cannot be sought
        // stays at its beginning.
        const unsigned int start = std::min(blockStart, m_buffer.Size());
        if (m_buffer.SeekG(start) == start)
            m_endOffset = m_blockEndOffset = start;
    }
    return Fetch(offset - m_endOffset, false, true);
}

// Reads the next block behind the bytes from keepFrom to the end of what is there, which become the first of what is
// not passed over yet. False when the stream has no more bytes.
bool BinaryStreamParser::ReadData(const unsigned char* keepFrom)
{
    const auto kept = static_cast<std::size_t>(m_end - keepFrom);
    MoveBeforeBlock(keepFrom, kept);
    m_position = m_block - kept;
    m_end = m_block;
    m_searches->Restart(m_position);
    const unsigned int count = ReadBlock();
    m_end += count;
    m_endOffset += count;
    return count != 0;
}

void BinaryStreamParser::MoveBeforeBlock(const unsigned char* from, std::size_t count)
{
    const auto room = static_cast<std::size_t>(m_block - m_storage.data());
    if (count <= room) {
        std::memmove(m_block - count, from, count);
        return;
    }
    std::vector<unsigned char> larger(2 * count + BLOCK_SIZE + ByteScan::WINDOW);
    std::memcpy(larger.data() + count, from, count);
    m_storage.swap(larger);
    m_block = m_storage.data() + 2 * count;
}

// A block of nothing but ignored zero bytes is skipped.
unsigned int BinaryStreamParser::ReadBlock()
{
    unsigned int count = 0;
    while (count == 0) {
        if (m_buffer.PutBackUnread() == 0 && m_buffer.EndOfFile())
            return 0;
        count = m_buffer.Get(m_block, BLOCK_SIZE);
        if (count == 0)
            return 0;
        if (m_ignoreNulls)
            count = Distance(m_block, std::remove(m_block, m_block + count, static_cast<unsigned char>(0)));
    }
    m_blockEndOffset = m_buffer.TellG() - m_buffer.PutBackUnread();
    return count;
}

unsigned char BinaryStreamParser::GetCurrentChar()
{
    return VerifyData() ? *m_position : static_cast<unsigned char>(0);
}

// ---- Fetching -----------------------------------------------------------------------------------------------

bool BinaryStreamParser::FetchAcrossBlocks(unsigned int count, bool keyword, bool clearRecord)
{
    if (!VerifyData())
        return false;
    if (keyword)
        ClearFetchingBuffer();
    if (clearRecord)
        ClearRecord();
    for (;;) {
        const unsigned int piece = std::min(count, Distance(m_position, m_end));
        StoreFetchedData(m_position + piece, false, keyword, nullptr);
        count -= piece;
        if (count == 0)
            return true;
        if (!ReadData(m_end))
            return false;
    }
}

template <class Rule>
bool BinaryStreamParser::FetchData(Rule rule, bool keyword, Target* target)
{
    ClearFetchingBuffer();
    ClearRecord();
    if (!VerifyData())
        return false;
    for (;;) {
        const Stop stop = rule(m_position, m_end);
        StoreFetchedData(stop.end, stop.stopped, keyword, target);
        if (stop.stopped)
            return true;
        if (!ReadData(m_position)) {
            StoreFetchedData(m_end, false, keyword, target);
            return false;
        }
    }
}

// Passes over the bytes up to where a fetch without record or target ended, near.
inline void BinaryStreamParser::PassOverNear(const unsigned char* end, bool keyword)
{
    std::size_t kept = 0;
    if (keyword) {
        kept = static_cast<std::size_t>(end - m_position);
        ByteScan::CopyNear(m_keyword.data(), m_position, kept);
    }
    m_keyword[kept] = 0;
    m_keywordLength = static_cast<unsigned int>(kept);
    if (m_unsavedLength != 0 && kept != 0) [[unlikely]]
        m_unsavedLength = 0;
    m_position = end;
}

// True when the fetch ended near in this block, and is done.
template <class Search>
inline bool BinaryStreamParser::FetchNear(Search& search, bool keyword)
{
    const unsigned char* const end = search.Find(m_position, m_end);
    if (end == nullptr) [[unlikely]]
        return false;
    PassOverNear(end, keyword);
    return true;
}

// The same for a set that may not be the one the search was made for: the first fetch for a set is left to the others,
// as is what a record takes.
template <class Search, class Set>
inline bool BinaryStreamParser::FetchNearFor(const Set& set, Search& search, bool keyword)
{
    if (m_recordFetching || !search.IsFor(set, !m_caseSensitive)) [[unlikely]]
        return false;
    return FetchNear(search, keyword);
}

// The same where the fetch may also end in the next block, before which the rest of this one is put.
template <class Search>
bool BinaryStreamParser::FetchNearAcross(Search& search, bool keyword, const Target* target)
{
    if (m_recordFetching || target != nullptr)
        return false;
    if (FetchNear(search, keyword))
        return true;
    if (m_end - m_position >= Search::REACH)
        return false;
    ClearFetchingBuffer();
    return ReadData(m_position) && FetchNear(search, keyword);
}

bool BinaryStreamParser::FetchByte(unsigned char ch, bool keyword, Target* target)
{
    auto& search = m_searches->byte;
    const ByteRule rule{search.Select(m_position, ch, !m_caseSensitive)};
    return FetchNearAcross(search, keyword, target) || FetchData(rule, keyword, target);
}

bool BinaryStreamParser::FetchMember(std::string_view set, bool keyword, Target* target)
{
    auto& search = m_searches->until;
    const SetRule rule{search.Select(m_position, set, !m_caseSensitive), true};
    return FetchNearAcross(search, keyword, target) || FetchData(rule, keyword, target);
}

bool BinaryStreamParser::FetchNonMember(std::string_view set, bool keyword, Target* target)
{
    auto& search = m_searches->untilNot;
    const SetRule rule{search.Select(m_position, set, !m_caseSensitive), false};
    return FetchNearAcross(search, keyword, target) || FetchData(rule, keyword, target);
}

bool BinaryStreamParser::FetchPattern(std::string_view pattern, bool keyword, Target* target)
{
    if (pattern.empty())
        return FetchData(EmptyRule(), keyword, target);
    if (pattern.size() == 1)
        return FetchByte(static_cast<unsigned char>(pattern[0]), keyword, target);
    if (!FetchData(PatternRule(pattern, !m_caseSensitive), keyword, target))
        return false;
    m_position += pattern.size() - 1;
    return true;
}

// From the last byte of a pattern that was found.
bool BinaryStreamParser::StepBeyond(std::string_view pattern)
{
    return pattern.empty() || Fetch(1, false, true);
}

bool BinaryStreamParser::FetchTo(unsigned char ch, bool keyword)
{
    return FetchNearFor(ch, m_searches->byte, keyword) || FetchByte(ch, keyword, nullptr);
}

bool BinaryStreamParser::FetchTo(const std::string& pattern, bool keyword)
{
    return pattern.size() == 1 ? FetchTo(static_cast<unsigned char>(pattern[0]), keyword)
                               : FetchPattern(pattern, keyword, nullptr);
}

bool BinaryStreamParser::FetchBeyond(const std::string& pattern, bool keyword)
{
    return FetchTo(pattern, keyword) && StepBeyond(pattern);
}

bool BinaryStreamParser::FetchUntil(const std::string& set, bool keyword)
{
    return FetchNearFor(set, m_searches->until, keyword) || FetchMember(set, keyword, nullptr);
}

bool BinaryStreamParser::FetchUntilNot(const std::string& set, bool keyword)
{
    return FetchNearFor(set, m_searches->untilNot, keyword) || FetchNonMember(set, keyword, nullptr);
}

bool BinaryStreamParser::FetchTo(unsigned char ch, std::string& out)
{
    return CopyKeyword(out, FetchTo(ch, true));
}

bool BinaryStreamParser::FetchTo(const std::string& pattern, std::string& out)
{
    return CopyKeyword(out, FetchTo(pattern, true));
}

bool BinaryStreamParser::FetchBeyond(const std::string& pattern, std::string& out)
{
    return CopyKeyword(out, FetchBeyond(pattern, true));
}

bool BinaryStreamParser::FetchUntil(const std::string& set, std::string& out)
{
    return CopyKeyword(out, FetchUntil(set, true));
}

bool BinaryStreamParser::FetchUntilNot(const std::string& set, std::string& out)
{
    return CopyKeyword(out, FetchUntilNot(set, true));
}

bool BinaryStreamParser::FetchIntoTo(Kiv::RefCount<MemoryBuffer>& into, const std::string& pattern, const char* trimSet,
                                     bool ignoreNulls, bool spaceForTrim)
{
    Target target(into, trimSet, ignoreNulls, spaceForTrim);
    return FetchPattern(pattern, false, &target);
}

bool BinaryStreamParser::FetchIntoBeyond(Kiv::RefCount<MemoryBuffer>& into, const std::string& pattern,
                                         const char* trimSet, bool ignoreNulls, bool spaceForTrim)
{
    Target target(into, trimSet, ignoreNulls, spaceForTrim);
    return FetchPattern(pattern, false, &target) && StepBeyond(pattern);
}

bool BinaryStreamParser::FetchIntoUntil(Kiv::RefCount<MemoryBuffer>& into, const std::string& set, const char* trimSet,
                                        bool ignoreNulls, bool spaceForTrim)
{
    Target target(into, trimSet, ignoreNulls, spaceForTrim);
    return set.size() == 1 ? FetchPattern(set, false, &target) : FetchMember(set, false, &target);
}

bool BinaryStreamParser::FetchIntoUntilNot(Kiv::RefCount<MemoryBuffer>& into, const std::string& set,
                                           const char* trimSet, bool ignoreNulls, bool spaceForTrim)
{
    Target target(into, trimSet, ignoreNulls, spaceForTrim);
    return FetchNonMember(set, false, &target);
}

// ---- Keyword and record -------------------------------------------------------------------------------------

void BinaryStreamParser::ClearFetchingBuffer()
{
    m_keywordLength = 0;
    m_keyword[0] = 0;
}

// The text may lie in the keyword itself.
void BinaryStreamParser::SetKeywordBuffer(const char* text, unsigned int length)
{
    const std::size_t wanted = length != 0 ? length : std::strlen(text);
    m_keywordLength = static_cast<unsigned int>(std::min<std::size_t>(wanted, KEYWORD_CAPACITY));
    std::memmove(m_keyword.data(), text, m_keywordLength);
    m_keyword[m_keywordLength] = 0;
}

bool BinaryStreamParser::CopyKeyword(std::string& out, bool result) const
{
    out.assign(m_keyword.data(), m_keywordLength);
    return result;
}

void BinaryStreamParser::SetRecordFetching(bool on)
{
    m_recordFetching = on;
    if (!on)
        ClearRecord();
}

unsigned int BinaryStreamParser::GetRecordFetchingSize() const
{
    return m_record ? m_record->Size() : 0;
}

void BinaryStreamParser::GetRecordFetchingContent(MemoryBuffer& out, unsigned int from, unsigned int count)
{
    if (SeekRecord(from))
        m_record->Copy(static_cast<Kiv::BaseBinaryStreamBuf&>(out), count != 0 ? count : EVERYTHING);
}

void BinaryStreamParser::GetRecordFetchingContent(std::string& out, unsigned int from, unsigned int count)
{
    if (!SeekRecord(from))
        return;
    out.clear();
    m_record->Copy(out, count != 0 ? count : EVERYTHING);
}

// False where there is no record.
bool BinaryStreamParser::SeekRecord(unsigned int from) const
{
    if (!m_record)
        return false;
    m_record->SeekG(from);
    if (from == 0)
        m_record->DropPutBack();
    return true;
}

} // namespace KivFile
