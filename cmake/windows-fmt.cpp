// What Debian has of fmt for this system alone, built from its headers: once, not in each file that
// includes them.
#include <fmt/format-inl.h>

FMT_BEGIN_NAMESPACE
namespace detail {
template thousands_sep_result<char> thousands_sep_impl(locale_ref);
template char decimal_point_impl(locale_ref);
template void vformat_to(buffer<char>&, string_view, basic_format_args<format_context>, locale_ref);
}  // namespace detail
FMT_END_NAMESPACE
