// The buffer interface: bytes with a get and a put position, whatever holds them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <KivBase/BinaryStreamException.h>
#include <KivBase/Export.h>
#include <KivBase/WString.h>

namespace Kiv
{

template <class Offset>
class BinaryStreamT;

// Root of all buffers: what can be done with one without knowing its offset type. Counts are bytes.
// One thread uses a buffer at a time.
class KIV_EXPORT BaseBinaryStreamBuf
{
public:
    virtual ~BaseBinaryStreamBuf();

    // Writes up to n bytes at the put position and returns how many were taken; 0 for n = 0.
    virtual unsigned int Put(const void* src, unsigned int n) = 0;
    // Reads up to n bytes at the get position and returns how many were delivered: less than n only where the content
    // ends; 0 for n = 0.
    virtual unsigned int Get(void* dst, unsigned int n) = 0;
    // As Put, but all n bytes or BinaryStreamPutEOFException (what was taken stays written). Returns n.
    virtual unsigned int Write(const void* src, unsigned int n) = 0;
    // As Get, but all n bytes or BinaryStreamGetEOFException (what was delivered stays in dst). Returns n.
    virtual unsigned int Read(void* dst, unsigned int n) = 0;

    // Read up to n bytes and append them to out, or write them to dst. Return the bytes read.
    // The wide form appends UTF-16 code units in memory order; an odd byte at its end counts and appends nothing.
    virtual unsigned int Copy(WString& out, unsigned int n) = 0;
    virtual unsigned int Copy(std::string& out, unsigned int n) = 0;
    virtual unsigned int Copy(BinaryStreamT<unsigned int>& dst, unsigned int n) = 0;
    virtual unsigned int Copy(BaseBinaryStreamBuf& dst, unsigned int n) = 0;

    // Pushes buffered data to the medium.
    virtual void Flush() = 0;
    // Discards all content; size and positions become 0.
    virtual void Clear() = 0;
    // Clear, and the memory held for content is released.
    virtual void ClearMemory() = 0;
};

template <class Offset>
class BinaryStreamBufT;

// The buffer interface with 32-bit sizes and positions: at most 4 GiB - 1 bytes.
//
// The public operations are written once, here; a concrete buffer fills in the protected v... operations. Between the
// two lies the put-back area: bytes given back to the reader, which every reading operation delivers first. It is no
// part of the buffer's size or positions, and no buffer of this family fills it by itself.
//
// Seeks take an offset, an origin and a direction and return the new position; what lies outside the content is the
// concrete buffer's to refuse.
template <>
class KIV_EXPORT BinaryStreamBufT<unsigned int> : public BaseBinaryStreamBuf
{
public:
    enum Origin {
        Beginning = 0,
        End = 1,     // relative to the size
        Current = 2, // relative to the position that is moved
    };

    // Whether the offset is added or subtracted. Any other value counts as backward.
    enum Direction : std::int32_t {
        Forward = -2,
        Backward = -1,
    };

    // The two bits of Mode().
    static constexpr std::uint32_t READABLE = 1;
    static constexpr std::uint32_t WRITABLE = 2;

    BinaryStreamBufT(const BinaryStreamBufT&) = delete;
    BinaryStreamBufT& operator=(const BinaryStreamBufT&) = delete;
    ~BinaryStreamBufT() override;

    unsigned int Put(const void* src, unsigned int n) override { return n == 0 ? 0 : vPut(src, n); }

    unsigned int Get(void* dst, unsigned int n) override
    {
        if (n == 0)
            return 0;
        return m_putBack ? GetAfterPutBack(dst, n) : vGet(dst, n);
    }

    unsigned int Write(const void* src, unsigned int n) override
    {
        if (Put(src, n) < n)
            ThrowPutEOF();
        return n;
    }

    unsigned int Read(void* dst, unsigned int n) override
    {
        if (Get(dst, n) < n)
            ThrowGetEOF();
        return n;
    }

    unsigned int Copy(WString& out, unsigned int n) override;
    unsigned int Copy(std::string& out, unsigned int n) override;
    unsigned int Copy(BinaryStreamT<unsigned int>& dst, unsigned int n) override;
    unsigned int Copy(BaseBinaryStreamBuf& dst, unsigned int n) override;
    void Flush() override { vFlush(); }
    void Clear() override;
    void ClearMemory() override;

    // Bytes of content.
    [[nodiscard]] unsigned int Size() const { return vSize(); }
    // The get and the put position.
    [[nodiscard]] unsigned int TellG() const { return vTellG(); }
    [[nodiscard]] unsigned int TellP() const { return vTellP(); }
    unsigned int SeekG(unsigned int off, Origin origin = Beginning, Direction direction = Forward)
    {
        return vSeekG(off, origin, direction);
    }
    unsigned int SeekP(unsigned int off, Origin origin = Beginning, Direction direction = Forward)
    {
        return vSeekP(off, origin, direction);
    }
    // Whether the get position is at or past the end. Bytes put back are not considered.
    [[nodiscard]] bool EndOfFile() const { return vEndOfFile(); }
    // Discards the content that lies beyond the put position.
    void ClearEnd() { vClearEnd(); }

    // READABLE and WRITABLE, as the concrete buffer's constructor set them.
    [[nodiscard]] std::uint32_t Mode() const { return m_mode; }

    // The put-back area: how many of its bytes have been read and how many have not; dropping it.
    [[nodiscard]] unsigned int PutBackIndex() const { return m_putBackIndex; }
    [[nodiscard]] unsigned int PutBackUnread() const { return m_putBackLength - m_putBackIndex; }
    void DropPutBack() noexcept;

protected:
    explicit BinaryStreamBufT(std::uint32_t mode = READABLE | WRITABLE) : m_mode(mode) {}

    // Puts n bytes in front of what is unread: the next reads deliver them first. Throws std::bad_alloc, and
    // std::length_error when more than 4 GiB - 1 bytes would be unread.
    void PutBack(const void* data, unsigned int n);

    // What a concrete buffer fills in. Each does what the public operation of its name promises, without the put-back
    // area; n is never 0 in vPut and vGet.
    virtual unsigned int vPut(const void* src, unsigned int n) = 0;
    virtual unsigned int vTellP() const = 0;
    virtual unsigned int vSeekP(unsigned int off, Origin origin, Direction direction) = 0;
    virtual unsigned int vGet(void* dst, unsigned int n) = 0;
    virtual unsigned int vTellG() const = 0;
    virtual unsigned int vSeekG(unsigned int off, Origin origin, Direction direction) = 0;
    virtual void vFlush() = 0;
    virtual void vClear() = 0;
    virtual void vClearMemory() = 0;
    virtual void vClearEnd() = 0;
    virtual unsigned int vSize() const = 0;
    virtual bool vEndOfFile() const = 0;

    // Copies in pieces of at most 32768 bytes through vGet. The wide form drops the odd byte at the end of a piece,
    // but counts it.
    virtual unsigned int vCopy(WString& out, unsigned int n);
    virtual unsigned int vCopy(std::string& out, unsigned int n);
    virtual unsigned int vCopy(BaseBinaryStreamBuf& dst, unsigned int n);

private:
    friend class BinaryStreamBufWrapper;

    [[nodiscard]] const unsigned char* UnreadPutBack() const { return m_putBack.get() + m_putBackIndex; }
    void ConsumePutBack(unsigned int n) noexcept;
    unsigned int GetAfterPutBack(void* dst, unsigned int n);
    unsigned int CopyPutBack(WString& out, unsigned int n);
    template <class Sink>
    unsigned int CopyInPieces(unsigned int n, Sink sink);
    [[noreturn]] static void ThrowGetEOF();
    [[noreturn]] static void ThrowPutEOF();

    std::unique_ptr<unsigned char[]> m_putBack;
    unsigned int m_putBackLength = 0;
    unsigned int m_putBackIndex = 0;
    std::uint32_t m_mode;
};

// A buffer that passes every operation on to another one; a class derives from it to observe some of them.
// The other buffer is not owned and must outlive this one.
class KIV_EXPORT BinaryStreamBufWrapper : public BinaryStreamBufT<unsigned int>
{
public:
    ~BinaryStreamBufWrapper() override;

protected:
    explicit BinaryStreamBufWrapper(BinaryStreamBufT<unsigned int>& buffer) : m_buffer(buffer) {}

    [[nodiscard]] BinaryStreamBufT<unsigned int>& Wrapped() const { return m_buffer; }

    unsigned int vPut(const void* src, unsigned int n) override;
    unsigned int vTellP() const override;
    unsigned int vSeekP(unsigned int off, Origin origin, Direction direction) override;
    unsigned int vGet(void* dst, unsigned int n) override;
    unsigned int vTellG() const override;
    unsigned int vSeekG(unsigned int off, Origin origin, Direction direction) override;
    void vFlush() override;
    void vClear() override;
    void vClearMemory() override;
    void vClearEnd() override;
    unsigned int vSize() const override;
    bool vEndOfFile() const override;
    unsigned int vCopy(WString& out, unsigned int n) override;
    unsigned int vCopy(std::string& out, unsigned int n) override;
    unsigned int vCopy(BaseBinaryStreamBuf& dst, unsigned int n) override;

private:
    BinaryStreamBufT<unsigned int>& m_buffer;
};

} // namespace Kiv
