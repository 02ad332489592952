#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/values/variant.h"

namespace pellago {

/// A command line split into arguments, each with a name and a value. It knows nothing of what they mean. The
/// line is split when a count, a name or a value is asked for. Positions count from 1. Errors: RunTimeError
/// 0x80040000 + 18221 … 18224.
class CCommandArgs final {
public:
    /// An empty or blank `command_line` takes that of the process, less a quote at either end.
    void Init(const std::string& command_line, std::int32_t argument_style, const std::string& delimiter,
              const std::string& assignment);

    /// 1: an argument is taken whole. 2: it is a name, the assignment character and a value.
    std::int32_t ArgumentStyle() const { return argument_style_; }
    void ArgumentStyle(std::int32_t style);
    /// Between a name and its value; may be more than one character, but not none.
    const std::string& AssignmentChar() const { return assignment_; }
    void AssignmentChar(const std::string& assignment);
    const std::string& CommandLine() const { return command_line_; }
    void CommandLine(const std::string& text);
    /// Between two arguments; may be more than one character, but not none.
    const std::string& DelimiterChar() const { return delimiter_; }
    void DelimiterChar(const std::string& delimiter);

    std::int16_t Count();
    /// The text before the first assignment character, blanks around it included; the whole argument where it
    /// has none, and always in style 1.
    std::string Name(std::int16_t index);
    /// `index` is a position (a number, or text that reads as one) or an argument's key: its text before the
    /// first assignment character, or all of it; case does not count. The value is the trimmed text after the
    /// first assignment character; the whole argument where that is empty or there is none, and always in
    /// style 1.
    std::string Value(const Variant& index);

private:
    void ParseArguments();
    void AddArgument(const std::string& piece);
    const std::string& At(double position);
    const std::string& WithKey(const std::string& key);
    std::size_t AssignmentIn(const std::string& argument) const;

    std::vector<std::string> arguments_;
    std::map<std::string, std::size_t> positions_;  ///< by key, in upper case
    std::int32_t argument_style_ = 1;
    std::string command_line_;
    std::string delimiter_ = "/";
    std::string assignment_ = "=";
    bool parsed_ = false;
};

}  // namespace pellago
