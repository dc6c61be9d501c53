// The roots of the family's exceptions and the record that carries a catalog message.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include <KivBase/Export.h>
#include <KivBase/SmartPtr.h>
#include <KivBase/WString.h>

namespace Kiv
{

// What a throw site knows of a failure: the catalog message, where it happened, the message's parameters and the
// system's error code. The text is made from it once, when an exception is made from the record, which is complete by
// then.
class KIV_EXPORT MessageInfo
{
public:
    // Stands in a text for a parameter whose value is empty.
    static const WString EMPTY_PARAM_VALUE;

    // module and sourceFile are constant texts and are not copied.
    MessageInfo(const char* module, std::uint32_t id, const char* sourceFile, std::uint32_t sourceLine);

    // Append the next parameter; the first is %1. Narrow text is converted by the narrow text rule and cut at 1024
    // units. An empty value is stored as EMPTY_PARAM_VALUE. Each returns the record itself.
    MessageInfo& AddParameter(std::string_view value);
    MessageInfo& AddParameter(WStringView value);

    // Stores a system error code, whose description will end the text. The thread's last error must be read before
    // anything else can change it.
    void SetLastError(std::uint32_t code);

    [[nodiscard]] const char* Module() const { return m_module; }
    [[nodiscard]] std::uint32_t Id() const { return m_id; }
    [[nodiscard]] const char* SourceFile() const { return m_sourceFile; }
    [[nodiscard]] std::uint32_t SourceLine() const { return m_sourceLine; }
    [[nodiscard]] const std::vector<WString>& Parameters() const { return m_parameters; }
    [[nodiscard]] std::optional<std::uint32_t> LastError() const { return m_lastError; }

    // The catalog's text for the message with %1 to %9 replaced, then, where an error code is stored, a blank and the
    // system's description of it. A parameter is not searched for further parameters;
    // a %n without a parameter stays.
    [[nodiscard]] const WString& Text() const;

    std::int32_t AddRef() const noexcept { return ++m_references; }
    // Drops a reference and returns the new count; at 0 the record is deleted.
    std::int32_t Release() const noexcept;

    ~MessageInfo();

private:
    mutable std::atomic<std::int32_t> m_references{0};
    const char* m_module;
    std::uint32_t m_id;
    const char* m_sourceFile;
    std::uint32_t m_sourceLine;
    std::vector<WString> m_parameters;
    mutable WString m_text;
    std::optional<std::uint32_t> m_lastError;
};

// Root of everything that the family throws. Copies made by Copy and Throw keep the text and nothing else.
class KIV_EXPORT BaseException
{
public:
    BaseException() = default;
    explicit BaseException(const WString& text);
    // text is terminated by a zero unit.
    explicit BaseException(const unsigned short* text);
    explicit BaseException(const SmartPtr<MessageInfo>& message);
    BaseException(const BaseException&) = default;
    BaseException& operator=(const BaseException&) = default;

    virtual ~BaseException();
    // The text; for an exception made from a message record, the text of its message.
    [[nodiscard]] virtual const WString& What() const;
    // A new object of the same class with the same text; the caller deletes it.
    [[nodiscard]] virtual BaseException* Copy() const = 0;
    // Throws an object of the same class with the same text, by value.
    [[noreturn]] virtual void Throw() const = 0;

    static void* operator new(std::size_t size);
    static void operator delete(void* block) noexcept;

private:
    WString m_text;
};

class KIV_EXPORT Exception : public BaseException
{
public:
    Exception() = default;
    explicit Exception(const WString& text) : BaseException(text) {}
    explicit Exception(const unsigned short* text) : BaseException(text) {}
    explicit Exception(const SmartPtr<MessageInfo>& message);
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;
    ~Exception() override;

    // The record this exception was made from; null when it was made from a text.
    [[nodiscard]] const SmartPtr<MessageInfo>& Message() const { return m_message; }

    [[nodiscard]] const WString& What() const override;
    [[nodiscard]] BaseException* Copy() const override;
    [[noreturn]] void Throw() const override;

private:
    SmartPtr<MessageInfo> m_message;
};

// The four operations of an exception class, written once: class X : public ExceptionT<X, Base>.
template <class Self, class Base>
class KIV_TYPE ExceptionT : public Base
{
public:
    using Base::Base;
    ExceptionT() = default;
    ExceptionT(const ExceptionT&) = default;
    ExceptionT& operator=(const ExceptionT&) = default;
    ~ExceptionT() override = default;

    [[nodiscard]] const WString& What() const override { return Base::What(); }
    [[nodiscard]] BaseException* Copy() const override { return new Self(What()); }
    [[noreturn]] void Throw() const override { throw Self(What()); }
};

} // namespace Kiv
