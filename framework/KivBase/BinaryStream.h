// Typed values in and out of a buffer.
#pragma once

#include <concepts>

#include <KivBase/BinaryStreamBuf.h>

namespace Kiv
{

// A formatted stream over a buffer, which is not owned and must outlive the stream. Values are written as they lie in
// memory, which is little-endian on every platform of the family.
template <>
class BinaryStreamT<unsigned int>
{
public:
    using BufferType = BinaryStreamBufT<unsigned int>;

    explicit BinaryStreamT(BufferType& buffer) : m_buffer(buffer) {}

    [[nodiscard]] BufferType& Buffer() { return m_buffer; }

    // As the buffer's operations of the same names.
    unsigned int Write(const void* src, unsigned int n) { return m_buffer.Write(src, n); }
    unsigned int Read(void* dst, unsigned int n) { return m_buffer.Read(dst, n); }

private:
    BufferType& m_buffer;
};

// Write and read one value of a base type. Throw BinaryStreamPutEOFException and BinaryStreamGetEOFException when the
// buffer takes or gives less than the whole value.
template <class Value>
    requires std::integral<Value> || std::floating_point<Value>
BinaryStreamT<unsigned int>& operator<<(BinaryStreamT<unsigned int>& stream, Value value)
{
    stream.Write(&value, sizeof value);
    return stream;
}

template <class Value>
    requires std::integral<Value> || std::floating_point<Value>
BinaryStreamT<unsigned int>& operator>>(BinaryStreamT<unsigned int>& stream, Value& value)
{
    stream.Read(&value, sizeof value);
    return stream;
}

} // namespace Kiv
