// A stand-in for the part of scnlib 1.x that is used here: scan() of unsigned integers out of a
// text, with "{}" for decimal and "{:B16}" for hexadecimal ones. Everything else in a format but
// blanks is matched literally.
//
// Reads what scnlib's integer reader reads: ASCII blanks and one "+" may stand before a number, and
// there is no "0x" prefix. A "+" without digits counts as 0 if anything follows in the text, even a
// blank; only at the very end of the text is it an error.
// Nothing here throws; distinct calls are independent.

#pragma once

#include <cstddef>
#include <limits>
#include <string_view>
#include <type_traits>

namespace scn {

class error {
public:
    enum code {
        good,
        end_of_range,
        invalid_format_string,
        invalid_scanned_value,
        value_out_of_range
    };

    constexpr error() noexcept = default;
    constexpr error(enum code code) noexcept : code_(code) {}

    constexpr enum code code() const noexcept { return code_; }
    // True when there is no error.
    constexpr explicit operator bool() const noexcept { return code_ == good; }

private:
    enum code code_ = good;
};

// Ends with the first error; `leftover` is then unspecified. Refers to the scanned text.
class scan_result {
public:
    constexpr scan_result(scn::error error, std::string_view leftover) noexcept
        : error_(error), leftover_(leftover) {}

    constexpr explicit operator bool() const noexcept { return static_cast<bool>(error_); }
    constexpr scn::error error() const noexcept { return error_; }
    // True when the scan consumed the whole text.
    constexpr bool empty() const noexcept { return leftover_.empty(); }

private:
    scn::error error_;
    std::string_view leftover_;
};

namespace detail {

constexpr bool is_blank(char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The value of a digit of any base up to 36; at least 36 for every other character.
constexpr unsigned digit_value(char c) noexcept {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    if (c >= 'a' && c <= 'z') {
        return static_cast<unsigned>(c - 'a') + 10;
    }
    if (c >= 'A' && c <= 'Z') {
        return static_cast<unsigned>(c - 'A') + 10;
    }
    return 36;
}

class scanner {
public:
    constexpr scanner(std::string_view text, std::string_view format) noexcept
        : text_(text), format_(format) {}

    // Reads up to and including the next replacement field. Does nothing after an error.
    template <typename T>
    constexpr void read(T& value) noexcept {
        static_assert(std::is_unsigned_v<T> && !std::is_same_v<T, bool>);
        match_literals();
        if (skip_prefix(format_, "{}")) {
            read_integer(value, 10);
        } else if (skip_prefix(format_, "{:B16}")) {
            read_integer(value, 16);
        } else {
            fail(error::invalid_format_string);
        }
    }

    constexpr scan_result finish() noexcept {
        match_literals();
        if (!format_.empty()) {
            fail(error::invalid_format_string);
        }
        return {error_, text_};
    }

private:
    constexpr void fail(enum error::code code) noexcept {
        if (error_) {
            error_ = code;
        }
    }

    static constexpr bool skip_prefix(std::string_view& text, std::string_view prefix) noexcept {
        if (text.substr(0, prefix.size()) != prefix) {
            return false;
        }
        text.remove_prefix(prefix.size());
        return true;
    }

    constexpr void match_literals() noexcept {
        while (error_ && !format_.empty() && format_.front() != '{') {
            if (is_blank(format_.front())) {
                fail(error::invalid_format_string);
            } else if (!skip_prefix(text_, format_.substr(0, 1))) {
                fail(text_.empty() ? error::end_of_range : error::invalid_scanned_value);
            }
            format_.remove_prefix(1);
        }
    }

    // Leaves `value` alone on an error.
    template <typename T>
    constexpr void read_integer(T& value, unsigned base) noexcept {
        if (!error_) {
            return;
        }
        while (!text_.empty() && is_blank(text_.front())) {
            text_.remove_prefix(1);
        }
        if (text_.empty()) {
            return fail(error::end_of_range);
        }
        const bool plus = skip_prefix(text_, "+");
        if (text_.empty() || (!plus && digit_value(text_.front()) >= base)) {
            return fail(error::invalid_scanned_value);
        }
        T number = 0;
        for (; !text_.empty() && digit_value(text_.front()) < base; text_.remove_prefix(1)) {
            const unsigned digit = digit_value(text_.front());
            if (number > (std::numeric_limits<T>::max() - digit) / base) {
                return fail(error::value_out_of_range);
            }
            number = static_cast<T>(number * base + digit);
        }
        value = number;
    }

    std::string_view text_;
    std::string_view format_;
    error error_;
};

}  // namespace detail

// Scans `text` as `format` says, and sets `values`, one for each field, up to the first error.
template <typename... T>
[[nodiscard]] constexpr scan_result scan(std::string_view text, std::string_view format,
                                         T&... values) noexcept {
    detail::scanner scanner(text, format);
    (scanner.read(values), ...);
    return scanner.finish();
}

}  // namespace scn
