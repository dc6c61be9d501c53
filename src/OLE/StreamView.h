// A stream of a compound document, read where it lies.
#pragma once

#include <algorithm>
#include <stdexcept>
#include <vector>

#include <KivBase/BinaryStreamBuf.h>

#include <src/SeekTarget.h>

namespace KivFile::OLE
{

// Bytes of a buffer that lie one behind the other: size of them at offset.
struct Piece {
    unsigned int offset;
    unsigned int size;
    // Of the first byte in the stream that the pieces make up.
    unsigned int position;
};

// Pieces of another buffer as one buffer that can only be read. Both the other buffer and the pieces belong to the
// caller. Moves the other buffer's get position.
class StreamView final : public Kiv::BinaryStreamBufT<unsigned int>
{
public:
    StreamView(Kiv::BinaryStreamBufT<unsigned int>& source, const std::vector<Piece>& pieces)
        : BinaryStreamBufT(READABLE), m_source(source), m_pieces(pieces),
          m_size(pieces.empty() ? 0 : pieces.back().position + pieces.back().size)
    {
    }

protected:
    unsigned int vGet(void* dst, unsigned int n) override
    {
        const unsigned int begin = m_get;
        const unsigned int end = m_get + std::min(n, m_size - m_get);
        for (auto piece = PieceAt(m_get); m_get < end; ++piece) {
            const unsigned int wanted = std::min(end, piece->position + piece->size) - m_get;
            m_source.SeekG(piece->offset + (m_get - piece->position));
            const unsigned int count = m_source.Get(static_cast<unsigned char*>(dst) + (m_get - begin), wanted);
            m_get += count;
            if (count < wanted)
                break;
        }
        return m_get - begin;
    }
    unsigned int vSeekG(unsigned int off, Origin origin, Direction direction) override
    {
        return m_get = SeekTargetWithin(m_get, m_size, off, origin, direction);
    }
    unsigned int vTellG() const override { return m_get; }
    unsigned int vSize() const override { return m_size; }
    bool vEndOfFile() const override { return m_get >= m_size; }
    void vFlush() override {}
    unsigned int vPut(const void*, unsigned int) override { Refuse(); }
    unsigned int vTellP() const override { Refuse(); }
    unsigned int vSeekP(unsigned int, Origin, Direction) override { Refuse(); }
    void vClear() override { Refuse(); }
    void vClearMemory() override { Refuse(); }
    void vClearEnd() override { Refuse(); }

private:
    [[nodiscard]] std::vector<Piece>::const_iterator PieceAt(unsigned int position) const
    {
        const auto behind = std::ranges::upper_bound(m_pieces, position, {}, &Piece::position);
        return behind == m_pieces.begin() ? behind : behind - 1;
    }

    [[noreturn]] static void Refuse() { throw std::runtime_error("StreamView: Stream is read-only!"); }

    Kiv::BinaryStreamBufT<unsigned int>& m_source;
    const std::vector<Piece>& m_pieces;
    const unsigned int m_size;
    unsigned int m_get = 0;
};

} // namespace KivFile::OLE
