// A forward tokenizer over any buffer.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <KivBase/BinaryStream.h>
#include <KivBase/SmartPtr.h>
#include <KivFile/Export.h>
#include <KivFile/MemoryBuffer.h>

namespace KivFile
{

// Advances over the bytes of a buffer by rules: a count, up to a pattern, up to a byte of a set, over the bytes of a
// set. The bytes passed over can be kept in three places:
//   the keyword   when the call asks for it: the first KEYWORD_CAPACITY bytes, and of those that no longer fit the last
//                 UNSAVED_CAPACITY as unsaved data
//   the record    while record fetching is on: all of them, in a buffer of the parser's own
//   a target      in the FetchInto forms: all of them, in a buffer of the caller's
//
// Every Fetch... form is true when it stopped where its rule says, also where that is the end of the stream, and false
// when the stream ended first; what was passed over until then is kept as usual. Where no byte is left every form is
// false. All forms but Fetch begin by emptying the keyword and the record. Unsaved data goes when something is appended
// to a keyword with room.
//
// The buffer is read in blocks, ahead of what was passed over, to its first read of 0 bytes. Bytes are 8 bits of
// anything; only ASCII letters have a case. Offsets count the bytes passed over, so zero bytes that IgnoreNulls drops
// are not in them.
//
// Does not own the buffer, which must outlive the parser and be left alone meanwhile. One thread at a time. Scanning
// allocates nothing but the record, a missing target, and room for a pattern longer than a block; where that fails, and
// where a string or a target grows, it throws std::bad_alloc.
// What the buffer throws passes through every operation that reads or seeks it: the constructors, Reset, Seek, the
// fetches and GetCurrentChar. No byte is then lost but those of the read that failed. What a target of the caller's
// throws passes through the FetchInto forms; then nothing of the piece that it refused is passed over, though the
// target may hold some of it.
class KIVFILE_EXPORT BinaryStreamParser
{
public:
    static constexpr unsigned int BLOCK_SIZE = 4096;
    static constexpr unsigned int KEYWORD_CAPACITY = 4096;
    static constexpr unsigned int UNSAVED_CAPACITY = 128;

    // A parser at the beginning of the buffer; record fetching and ignoring nulls are off. What was put back into the
    // buffer is dropped.
    BinaryStreamParser(Kiv::BinaryStreamBufT<unsigned int>& buffer, bool caseSensitive);
    BinaryStreamParser(Kiv::BinaryStreamT<unsigned int>& stream, bool caseSensitive);
    BinaryStreamParser(const BinaryStreamParser&) = delete;
    BinaryStreamParser& operator=(const BinaryStreamParser&) = delete;
    ~BinaryStreamParser();

    // Goes back to the beginning as the constructor does. The flags and the record stay.
    void Reset();

    // Goes to an offset of the stream; afterwards the keyword is empty, and the record holds what Fetch passed over on
    // the way. True when the stream reaches that far and is not empty; otherwise the parser is at its end. A buffer
    // that can be read and written is sought to the block that ends at the offset or holds it, any other is read from
    // its beginning. Zero bytes that are ignored count up to that block only.
    bool Seek(unsigned int offset);

    // Passes over count bytes. The keyword is emptied only where it is asked for, the record where clearRecord says so.
    bool Fetch(unsigned int count, bool keyword, bool clearRecord)
    {
        // Without record fetching the record is empty.
        const bool isKept = keyword || m_recordFetching;
        if (isKept || count >= static_cast<std::size_t>(m_end - m_position))
            return FetchAcrossBlocks(count, keyword, clearRecord);
        m_position += count;
        return true;
    }

    // Stop on the last byte of the pattern, the others being passed over and kept nowhere. The first byte is compared
    // by the parser's case rule, the rest always without regard to case. An empty pattern is found at once.
    bool FetchTo(unsigned char ch, bool keyword);
    bool FetchTo(const std::string& pattern, bool keyword);
    // The same, and the byte the fetch stopped on is passed over with Fetch(1, false, true); of the record, therefore,
    // only that byte remains. An empty pattern moves nothing.
    bool FetchBeyond(const std::string& pattern, bool keyword);
    // Stop on the first byte that is in the set: nowhere for an empty set.
    bool FetchUntil(const std::string& set, bool keyword);
    // Stop on the first byte that is not in the set: at once for an empty set.
    bool FetchUntilNot(const std::string& set, bool keyword);

    // The same with the keyword on, which then replaces the content of out, wherever the fetch ended.
    bool FetchTo(unsigned char ch, std::string& out);
    bool FetchTo(const std::string& pattern, std::string& out);
    bool FetchBeyond(const std::string& pattern, std::string& out);
    bool FetchUntil(const std::string& set, std::string& out);
    bool FetchUntilNot(const std::string& set, std::string& out);

    // The same without the keyword, writing what is passed over at the put position of into. Where into is null, it
    // takes a new buffer as soon as there is a byte to look at, with blocks sized for what was passed over by then.
    // Left out are zero bytes where ignoreNulls is set and, in what is passed over before the next block must be read,
    // leading bytes of trimSet (by exact comparison; null is an empty set); a blank stands for them, if anything
    // follows them there, where spaceForTrim is set.
    bool FetchIntoTo(Kiv::RefCount<MemoryBuffer>& into, const std::string& pattern, const char* trimSet,
                     bool ignoreNulls, bool spaceForTrim);
    bool FetchIntoBeyond(Kiv::RefCount<MemoryBuffer>& into, const std::string& pattern, const char* trimSet,
                         bool ignoreNulls, bool spaceForTrim);
    bool FetchIntoUntil(Kiv::RefCount<MemoryBuffer>& into, const std::string& set, const char* trimSet,
                        bool ignoreNulls, bool spaceForTrim);
    bool FetchIntoUntilNot(Kiv::RefCount<MemoryBuffer>& into, const std::string& set, const char* trimSet,
                           bool ignoreNulls, bool spaceForTrim);

    // The byte that the next fetch begins with, 0 at the end of the stream.
    [[nodiscard]] unsigned char GetCurrentChar();

    // The keyword, with a zero byte behind it; valid until the next call that changes it.
    [[nodiscard]] const char* GetKeywordBuffer() const { return m_keyword.data(); }
    [[nodiscard]] unsigned int GetKeywordLen() const { return m_keywordLength; }
    // The unsaved data, without a zero byte.
    [[nodiscard]] const char* GetUnsavedData() const { return m_unsaved.data(); }
    [[nodiscard]] unsigned int GetUnsavedDataLen() const { return m_unsavedLength; }
    void ClearFetchingBuffer();
    // Replaces the keyword by length bytes of text, or by those before its zero byte where length is 0; what does not
    // fit is left out.
    void SetKeywordBuffer(const char* text, unsigned int length);

    // Bytes passed over since the beginning of the stream, those jumped by Seek included.
    [[nodiscard]] unsigned int GetCurrentStreamOffset() const
    {
        return m_endOffset - static_cast<unsigned int>(m_end - m_position);
    }
    // The buffer's own position behind the block that was read last.
    [[nodiscard]] unsigned int GetBlockEndOffset() const { return m_blockEndOffset; }

    // Turning it off empties the record.
    void SetRecordFetching(bool on);
    // Copy count bytes of the record from an offset on, or all from there where count is 0: to the put position of
    // out, or in place of a string's content. Nothing happens where no record was ever stored. Throw
    // SeekOutOfRangeException where the record is shorter than from, and what out throws.
    void GetRecordFetchingContent(MemoryBuffer& out, unsigned int from, unsigned int count);
    void GetRecordFetchingContent(std::string& out, unsigned int from, unsigned int count);
    [[nodiscard]] unsigned int GetRecordFetchingSize() const;

    void SetCaseSensitive(bool caseSensitive) { m_caseSensitive = caseSensitive; }
    [[nodiscard]] bool IsCaseSensitive() const { return m_caseSensitive; }
    // Whether zero bytes are dropped from the blocks read from now on.
    void IgnoreNulls(bool ignore) { m_ignoreNulls = ignore; }

private:
    class Target;
    struct Searches;

    [[nodiscard]] bool VerifyData() { return m_position != m_end || ReadData(m_end); }
    bool ReadData(const unsigned char* keepFrom);
    void MoveBeforeBlock(const unsigned char* from, std::size_t count);
    unsigned int ReadBlock();

    bool FetchAcrossBlocks(unsigned int count, bool keyword, bool clearRecord);
    bool FetchPattern(std::string_view pattern, bool keyword, Target* target);
    bool StepBeyond(std::string_view pattern);
    bool FetchByte(unsigned char ch, bool keyword, Target* target);
    bool FetchMember(std::string_view set, bool keyword, Target* target);
    bool FetchNonMember(std::string_view set, bool keyword, Target* target);
    template <class Search, class Set>
    bool FetchNearFor(const Set& set, Search& search, bool keyword);
    template <class Search>
    bool FetchNearAcross(Search& search, bool keyword, const Target* target);
    template <class Search>
    bool FetchNear(Search& search, bool keyword);
    void PassOverNear(const unsigned char* end, bool keyword);
    template <class Rule>
    bool FetchData(Rule rule, bool keyword, Target* target);
    void StoreFetchedData(const unsigned char* end, bool stopped, bool keyword, Target* target);
    void KeywordSafeAppend(const unsigned char* bytes, std::size_t count);
    void KeepUnsaved(const unsigned char* bytes, std::size_t count);
    void RecordAppend(const unsigned char* bytes, std::size_t count);
    void ClearRecord();
    bool CopyKeyword(std::string& out, bool result) const;
    bool SeekRecord(unsigned int from) const;

    Kiv::BinaryStreamBufT<unsigned int>& m_buffer;
    Kiv::RefCount<MemoryBuffer> m_record;
    // The next block goes to m_block; before it there is room for the bytes of a pattern that began in earlier ones.
    std::vector<unsigned char> m_storage;
    unsigned char* m_block;
    // What was read and not passed over yet. A window of bytes can be read behind the block, as ByteScan has it.
    const unsigned char* m_position;
    const unsigned char* m_end;
    std::array<char, KEYWORD_CAPACITY + 1> m_keyword{};
    unsigned int m_keywordLength = 0;
    std::array<char, UNSAVED_CAPACITY> m_unsaved{};
    unsigned int m_unsavedLength = 0;
    std::unique_ptr<Searches> m_searches;
    bool m_caseSensitive;
    bool m_recordFetching = false;
    bool m_ignoreNulls = false;
    // The stream offset of m_end.
    unsigned int m_endOffset = 0;
    unsigned int m_blockEndOffset = 0;
};

} // namespace KivFile
