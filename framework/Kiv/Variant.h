// A value of one of the types that documents and settings hold.
#pragma once

#include <concepts>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include <Kiv/DateTime.h>
#include <KivBase/Exception.h>
#include <KivBase/Export.h>
#include <KivBase/WString.h>

namespace Kiv
{

class KIV_EXPORT Variant
{
public:
    // Thrown where a value has no form of the type asked for. The text is empty.
    class KIV_TYPE VariantException : public ExceptionT<VariantException, Exception>
    {
    public:
        using ExceptionT::ExceptionT;
    };

    using Value = std::variant<std::monostate, bool, unsigned char, short, unsigned short, int, unsigned int, float,
                               double, WString, DateTime>;

    // Holds nothing.
    Variant() = default;
    // Holds a value of exactly the type given.
    template <class T>
    requires(!std::same_as<std::remove_cvref_t<T>, Variant>) explicit Variant(T&& value)
        : m_value(std::in_place_type<std::remove_cvref_t<T>>, std::forward<T>(value))
    {
    }

    [[nodiscard]] bool IsEmpty() const { return std::holds_alternative<std::monostate>(m_value); }

    // The value as the type it is held as. Throws VariantException when it is of another type.
    template <class T>
    [[nodiscard]] const T& As() const
    {
        if (const T* value = std::get_if<T>(&m_value))
            return *value;
        throw VariantException();
    }

    // The value in words: text as it is, "true" or "false", numbers in the shortest form that reads back the same,
    // a date as YYYY-MM-DDTHH:MM:SSZ. Throws VariantException when the variant holds nothing.
    [[nodiscard]] WString AsWString() const;

    // The name of the type held: "empty", "bool", "uchar", "short", "ushort", "int", "uint", "float", "double",
    // "wstring", "datetime".
    [[nodiscard]] std::string_view TypeName() const;

    // For std::visit.
    [[nodiscard]] const Value& Get() const { return m_value; }

    friend bool operator==(const Variant&, const Variant&) = default;

private:
    Value m_value;
};

} // namespace Kiv
