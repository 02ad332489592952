#include "app/start/command_args.h"

#include <cmath>
#include <limits>
#include <optional>

#include "infra/component_errors.h"
#include "platform/files/program.h"
#include "platform/values/text.h"

namespace pellago {
namespace {

constexpr ComponentErrors kErrors("CCommandArgs", 18221, 18224);
constexpr std::int32_t kInvalidStyle = 18221;
constexpr std::int32_t kInvalidArgument = 18222;
constexpr std::int32_t kInvalidCharacter = 18223;

constexpr std::int32_t kWhole = 1;
constexpr std::int32_t kNameAndValue = 2;

[[noreturn]] void RaiseInvalidArgument() { kErrors.Raise(kInvalidArgument, "Invalid argument"); }

void CheckCharacter(const std::string& character) {
    if (character.empty()) kErrors.Raise(kInvalidCharacter, "Invalid character");
}

std::string ProcessCommandLine() {
    auto line = Trim(CommandLineText());
    if (line.starts_with('"')) line.erase(0, 1);
    if (line.ends_with('"')) line.pop_back();
    return line;
}

}  // namespace

void CCommandArgs::Init(const std::string& command_line, std::int32_t argument_style,
                        const std::string& delimiter, const std::string& assignment) {
    CommandLine(Trim(command_line).empty() ? ProcessCommandLine() : command_line);
    ArgumentStyle(argument_style);
    CheckCharacter(delimiter);
    CheckCharacter(assignment);
    DelimiterChar(delimiter);
    AssignmentChar(assignment);
}

void CCommandArgs::ArgumentStyle(std::int32_t style) {
    if (style != kWhole && style != kNameAndValue) kErrors.Raise(kInvalidStyle, "Invalid argument style");
    argument_style_ = style;
    parsed_ = false;
}

void CCommandArgs::AssignmentChar(const std::string& assignment) {
    CheckCharacter(assignment);
    assignment_ = assignment;
    parsed_ = false;
}

void CCommandArgs::CommandLine(const std::string& text) {
    command_line_ = text;
    parsed_ = false;
}

void CCommandArgs::DelimiterChar(const std::string& delimiter) {
    CheckCharacter(delimiter);
    delimiter_ = delimiter;
    parsed_ = false;
}

std::int16_t CCommandArgs::Count() {
    return kErrors.Run([&] {
        ParseArguments();
        if (arguments_.size() > std::numeric_limits<std::int16_t>::max())
            throw RunTimeError(error_number::kOverflow, "", "Overflow");
        return static_cast<std::int16_t>(arguments_.size());
    });
}

std::string CCommandArgs::Name(std::int16_t index) {
    return kErrors.Run([&] {
        const auto& argument = At(index);
        return argument.substr(0, AssignmentIn(argument));
    });
}

std::string CCommandArgs::Value(const Variant& index) {
    return kErrors.Run([&] {
        const auto* number = std::get_if<std::int32_t>(&index);
        const auto* fraction = std::get_if<double>(&index);
        const auto* text = std::get_if<std::string>(&index);
        if (!number && !fraction && !text) RaiseInvalidArgument();
        const auto position = text       ? NumberFromText(*text)
                              : fraction ? *fraction
                                         : static_cast<double>(*number);
        const auto& argument = position ? At(*position) : WithKey(*text);
        const auto assigned = AssignmentIn(argument);
        if (assigned == std::string::npos) return argument;
        auto value = Trim(argument.substr(assigned + assignment_.size()));
        return value.empty() ? argument : value;
    });
}

void CCommandArgs::ParseArguments() {
    if (parsed_) return;
    arguments_.clear();
    positions_.clear();
    std::size_t begin = 0;
    for (auto end = command_line_.find(delimiter_); end != std::string::npos;
         end = command_line_.find(delimiter_, begin)) {
        AddArgument(command_line_.substr(begin, end - begin));
        begin = end + delimiter_.size();
    }
    AddArgument(command_line_.substr(begin));
    parsed_ = true;
}

// Of arguments with the same key the first counts.
void CCommandArgs::AddArgument(const std::string& piece) {
    if (Trim(piece).empty()) return;
    const auto key = UCase(piece.substr(0, piece.find(assignment_)));
    if (positions_.emplace(key, arguments_.size()).second) arguments_.push_back(piece);
}

const std::string& CCommandArgs::At(double position) {
    ParseArguments();
    const auto rounded = std::nearbyint(position);
    if (!(rounded >= 1 && rounded <= static_cast<double>(arguments_.size()))) RaiseInvalidArgument();
    return arguments_[static_cast<std::size_t>(rounded) - 1];
}

const std::string& CCommandArgs::WithKey(const std::string& key) {
    ParseArguments();
    const auto found = positions_.find(UCase(key));
    if (found == positions_.end()) throw RunTimeError(error_number::kInvalidProcedureCall, "", "No such key");
    return arguments_[found->second];
}

std::size_t CCommandArgs::AssignmentIn(const std::string& argument) const {
    return argument_style_ == kNameAndValue ? argument.find(assignment_) : std::string::npos;
}

}  // namespace pellago
