#include <KivBase/Exception.h>

#include <array>

#include <KivBase/Messages.h>
#include <KivMem/MemoryPool.h>
#include <platform/Platform.h>

namespace Kiv
{

namespace
{

constexpr std::size_t LONGEST_NARROW_PARAMETER = 1024;

// The number n of the %n at a place of a text, 0 when none is there.
std::size_t PlaceholderAt(WStringView text, std::size_t at)
{
    if (text[at] != u'%' || at + 1 == text.size())
        return 0;
    const unsigned short digit = text[at + 1];
    return digit >= u'1' && digit <= u'9' ? digit - u'0' : 0u;
}

WString Substituted(WStringView text, const std::vector<WString>& parameters)
{
    WString result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::size_t number = PlaceholderAt(text, at);
        if (number == 0 || number > parameters.size()) {
            result += text[at];
        } else {
            result += parameters[number - 1];
            ++at;
        }
    }
    return result;
}

// The system's words for an error code behind a blank, nothing when it has none.
WString Description(std::uint32_t code)
{
    std::array<unsigned short, 1024> words;
    const std::uint32_t length = KivSys::FormatMessageW(code, words.data(), words.size());
    return length == 0 ? WString() : WString(1, u' ').append(words.data(), length);
}

} // namespace

// ---- MessageInfo --------------------------------------------------------------------------------------------

const WString MessageInfo::EMPTY_PARAM_VALUE = u"\"\""_w;

MessageInfo::MessageInfo(const char* module, std::uint32_t id, const char* sourceFile, std::uint32_t sourceLine)
    : m_module(module), m_id(id), m_sourceFile(sourceFile), m_sourceLine(sourceLine)
{
}

MessageInfo::~MessageInfo() = default;

MessageInfo& MessageInfo::AddParameter(std::string_view value)
{
    return AddParameter(WStringView(WideFromNarrow(value)).substr(0, LONGEST_NARROW_PARAMETER));
}

MessageInfo& MessageInfo::AddParameter(WStringView value)
{
    m_parameters.push_back(value.empty() ? EMPTY_PARAM_VALUE : WString(value));
    return *this;
}

void MessageInfo::SetLastError(std::uint32_t code)
{
    m_lastError = code;
}

const WString& MessageInfo::Text() const
{
    if (m_text.empty()) {
        m_text = Substituted(KivMessages::Text(m_module, m_id), m_parameters);
        if (m_lastError)
            m_text += Description(*m_lastError);
    }
    return m_text;
}

std::int32_t MessageInfo::Release() const noexcept
{
    const std::int32_t references = --m_references;
    if (references == 0)
        delete this;
    return references;
}

// ---- The roots of the tree ----------------------------------------------------------------------------------

BaseException::BaseException(const WString& text) : m_text(text) {}

BaseException::BaseException(const unsigned short* text) : m_text(text) {}

// The text is made here, by the thread that throws, so that an exception which several threads see is never changed.
BaseException::BaseException(const SmartPtr<MessageInfo>& message) : m_text(message ? message->Text() : WString()) {}

BaseException::~BaseException() = default;

const WString& BaseException::What() const
{
    return m_text;
}

void* BaseException::operator new(std::size_t size)
{
    return KivMem::MemoryPool::New(static_cast<unsigned int>(size));
}

void BaseException::operator delete(void* block) noexcept
{
    KivMem::MemoryPool::Delete(block);
}

Exception::Exception(const SmartPtr<MessageInfo>& message) : BaseException(message), m_message(message) {}

Exception::~Exception() = default;

const WString& Exception::What() const
{
    return BaseException::What();
}

BaseException* Exception::Copy() const
{
    return new Exception(What());
}

void Exception::Throw() const
{
    throw Exception(What());
}

} // namespace Kiv
