#include <Kiv/Variant.h>

#include <charconv>
#include <iterator>

namespace Kiv
{

namespace
{

struct InWords {
    WString operator()(std::monostate) const { throw Variant::VariantException(); }
    WString operator()(bool value) const { return Wide(value ? "true" : "false"); }
    WString operator()(const WString& value) const { return value; }
    WString operator()(const DateTime& value) const { return Wide(value.ToString()); }

    template <class Number>
    WString operator()(Number value) const
    {
        char digits[32];
        const std::to_chars_result result = std::to_chars(std::begin(digits), std::end(digits), value);
        return WString(digits, result.ptr);
    }
};

constexpr std::string_view TYPE_NAMES[] = {"empty", "bool",  "uchar",  "short",   "ushort",  "int",
                                           "uint",  "float", "double", "wstring", "datetime"};
static_assert(std::size(TYPE_NAMES) == std::variant_size_v<Variant::Value>, "a name for each type, in its order");

} // namespace

WString Variant::AsWString() const
{
    return std::visit(InWords(), m_value);
}

std::string_view Variant::TypeName() const
{
    return TYPE_NAMES[m_value.index()];
}

} // namespace Kiv
