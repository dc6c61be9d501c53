// The arithmetic of seeks.
#pragma once

#include <KivBase/BinaryStreamBuf.h>
#include <KivFile/FileException.h>

#include <src/BufferLimits.h>

namespace KivFile
{

// Where a seek leads from a position in a content of the given size. The result may lie behind the size.
// Throws SeekOutOfRangeException for a place before the content or behind the largest position, and for every way
// backward from the beginning.
inline unsigned int SeekTarget(unsigned int position, unsigned int size, unsigned int off,
                               Kiv::BinaryStreamBufT<unsigned int>::Origin origin,
                               Kiv::BinaryStreamBufT<unsigned int>::Direction direction)
{
    using Buffer = Kiv::BinaryStreamBufT<unsigned int>;
    const bool forward = direction == Buffer::Forward;
    if (origin == Buffer::Beginning && !forward)
        throw SeekOutOfRangeException();
    const unsigned int start = origin == Buffer::Beginning ? 0 : origin == Buffer::End ? size : position;
    const unsigned int room = forward ? LARGEST_POSITION - start : start;
    if (off > room)
        throw SeekOutOfRangeException();
    return forward ? start + off : start - off;
}

// The same for positions that may not lie behind the size.
inline unsigned int SeekTargetWithin(unsigned int position, unsigned int size, unsigned int off,
                                     Kiv::BinaryStreamBufT<unsigned int>::Origin origin,
                                     Kiv::BinaryStreamBufT<unsigned int>::Direction direction)
{
    const unsigned int target = SeekTarget(position, size, off, origin, direction);
    if (target > size)
        throw SeekOutOfRangeException();
    return target;
}

} // namespace KivFile
