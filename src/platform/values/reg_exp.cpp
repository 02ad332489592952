#include "platform/values/reg_exp.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <array>

#include "platform/values/run_time_error.h"

namespace pellago {

// PCRE2 itself, for QRegularExpression makes a string and a heap object of every match: a date of a feed
// would take 0.57 and not 0.19 microseconds.
struct RegExp::Compiled {
    Compiled(std::string_view pattern, bool ignore_case) {
        int error = 0;
        PCRE2_SIZE offset = 0;
        const std::uint32_t options = PCRE2_DOLLAR_ENDONLY | (ignore_case ? PCRE2_CASELESS : 0U);
        code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(), options, &error,
                             &offset, nullptr);
        if (!code) {
            std::array<PCRE2_UCHAR, 160> reason{};
            pcre2_get_error_message(error, reason.data(), reason.size());
            throw RunTimeError(5020, "",
                               "Syntax error in regular expression: " +
                                   std::string(reinterpret_cast<const char*>(reason.data())) + " at " +
                                   std::to_string(offset));
        }
        // Where the machine has no JIT the interpreter does the same, slower.
        pcre2_jit_compile(code, PCRE2_JIT_COMPLETE);
        match = pcre2_match_data_create_from_pattern(code, nullptr);
    }
    ~Compiled() {
        pcre2_match_data_free(match);
        pcre2_code_free(code);
    }
    Compiled(const Compiled&) = delete;
    Compiled& operator=(const Compiled&) = delete;

    pcre2_code* code = nullptr;
    pcre2_match_data* match = nullptr;
};

RegExp::RegExp(std::string_view pattern, bool ignore_case)
    : compiled_(std::make_unique<Compiled>(pattern, ignore_case)) {}
RegExp::~RegExp() = default;

std::optional<RegExpMatch> RegExp::Execute(std::string_view text) const {
    const int found = pcre2_match(compiled_->code, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), 0,
                                  0, compiled_->match, nullptr);
    if (found <= 0) return std::nullopt;
    const auto* ends = pcre2_get_ovector_pointer(compiled_->match);
    const auto groups = pcre2_get_ovector_count(compiled_->match);
    const auto group = [&](std::size_t index) {
        const auto first = ends[2 * index];
        return first == PCRE2_UNSET ? std::string_view() : text.substr(first, ends[2 * index + 1] - first);
    };
    RegExpMatch result{group(0), {}};
    result.sub_matches.reserve(groups - 1);
    for (std::size_t index = 1; index < groups; ++index) result.sub_matches.push_back(group(index));
    return result;
}

}  // namespace pellago
