// The bash completion script, written from the tool's own definitions.
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <google/protobuf/descriptor.h>

#include <gcuschema/document/entry_kind.h>
#include <gcuschema/document/pairing.h>
#include <gcuschema/document/records.h>

#include "completion.h"
#include "options.h"

namespace gcuschema::tool {
namespace {

// What reads the data below; the same for every tool definition.
constexpr std::string_view kFunctions = R"bash(
# The words of the command line up to the cursor, as typed: bash cuts a word
# at ':' and '=' (COMP_WORDBREAKS), so that input:DutyInput=X comes as five
# words. A piece of ':' and '=' is joined to the word before it, and the
# piece after it too, unless blanks stand between them on the line.
_gcuschema_join_words() {
  local i word rest glue=0 line=${COMP_LINE-}
  local read_line=${COMP_LINE+1}
  line=${line:0:${COMP_POINT:-${#line}}}
  _gcuschema_words=()
  for ((i = 0; i <= COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
    local blank=0
    if [[ -n $read_line ]]; then
      rest=${line#"${line%%[![:blank:]]*}"}
      [[ ${#rest} != "${#line}" ]] && blank=1
      if [[ $rest == "$word"* ]]; then
        line=${rest:${#word}}
      else
        read_line=""  # the line is not what the words say: join as if unbroken
        blank=0
      fi
    fi
    local breaks=0
    [[ -n $word && -z ${word//[:=]/} ]] && breaks=1
    if ((i > 0 && !blank && (breaks || glue))); then
      _gcuschema_words[-1]+=$word
    else
      _gcuschema_words+=("$word")
    fi
    glue=$breaks
  done
}

# Fills `offer` with the values of what $1 names that begin with $2.
_gcuschema_offer_values() {
  local what=$1 cur=$2 kind
  case $what in
    @none) ;;
    @file)
      compopt -o filenames 2>/dev/null
      offer=($(compgen -f -- "$cur"))
      ;;
    @record) offer=($(compgen -W "$_gcuschema_records" -- "$cur")) ;;
    @pair | @subject)
      if [[ $cur != *:* ]]; then
        [[ $what == @subject ]] && offer=($(compgen -W "$_gcuschema_records" -- "$cur"))
        offer+=($(compgen -W "$_gcuschema_kinds" -- "$cur"))
      elif [[ $what == @subject || $cur != *=* ]]; then
        kind=${cur%%:*}
        [[ " $_gcuschema_kinds " == *" $kind: "* ]] || return
        if [[ $what == @pair ]]; then
          offer=($(compgen -S = -W "${_gcuschema_codes[$kind]}" -- "$cur"))
        else
          offer=($(compgen -W "${_gcuschema_codes[$kind]}" -- "$cur"))
        fi
      else
        offer=($(compgen -P "${cur%%=*}=" -W "$_gcuschema_records" -- "${cur#*=}"))
      fi
      ;;
    *) offer=($(compgen -W "$what" -- "$cur")) ;;
  esac
}

_gcuschema() {
  local -a _gcuschema_words offer=()
  _gcuschema_join_words
  local n=$((${#_gcuschema_words[@]} - 1))
  local cur=${_gcuschema_words[n]} command="" option="" prefix="" word i operand=0 operands_only=0
  COMPREPLY=()
  for ((i = 1; i < n; i++)); do
    word=${_gcuschema_words[i]}
    if [[ -z $command ]]; then
      [[ $word == -* ]] || command=$word
    elif ((operands_only)); then
      ((operand++))
    elif [[ $word == -- ]]; then
      operands_only=1
    elif [[ $word == -?* ]]; then
      # An option's value is the word after it, unless given after '='.
      if [[ $word != *=* && -n ${_gcuschema_values["$command $word"]+1} ]]; then
        ((i + 1 == n)) && option=$word
        ((i++))
      fi
    else
      ((operand++))
    fi
  done

  if [[ -z $command ]]; then
    offer=($(compgen -W "$_gcuschema_commands $_gcuschema_top_options" -- "$cur"))
  elif [[ " $_gcuschema_commands $_gcuschema_hidden_commands " != *" $command "* ]]; then
    return
  elif [[ -n $option ]]; then
    _gcuschema_offer_values "${_gcuschema_values["$command $option"]}" "$cur"
  elif ((!operands_only)) && [[ $cur == --*=* ]]; then
    prefix=${cur%%=*}=
    [[ -n ${_gcuschema_values["$command ${cur%%=*}"]+1} ]] &&
      _gcuschema_offer_values "${_gcuschema_values["$command ${cur%%=*}"]}" "${cur#*=}"
  elif ((!operands_only)) && [[ $cur == -* ]]; then
    offer=($(compgen -W "${_gcuschema_options[$command]}" -- "$cur"))
  else
    # Past the last operand, the one that takes many, if any.
    local repeat=${_gcuschema_repeat[$command]-}
    [[ -n $repeat ]] && ((operand > repeat)) && operand=$repeat
    [[ -n ${_gcuschema_values["$command #$operand"]+1} ]] &&
      _gcuschema_offer_values "${_gcuschema_values["$command #$operand"]}" "$cur"
  fi

  # bash replaces only the last piece of a word it cut at ':' or '='.
  local drop=$((${#cur} - ${#COMP_WORDS[COMP_CWORD]})) open=0
  for word in "${offer[@]}"; do
    word=$prefix$word
    COMPREPLY+=("${word:drop}")
    [[ $word == *[:=] ]] || open=1
  done
  # A kind or a code goes on with what follows it, not with a new word.
  ((${#COMPREPLY[@]} > 0 && !open)) && compopt -o nospace 2>/dev/null
  return 0
}

complete -F _gcuschema gcuschema
)bash";

// 'text', as bash reads it back.
std::string Quoted(std::string_view text) {
  std::string out = "'";
  for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

// What an option or operand takes, as the script's functions read it: the
// words CLI::IsMember allows (its help shows them after the value's name,
// "FORMAT:{binary,json,text}"), or @file, @record, @pair, @subject by the
// value's name, or @none.
std::string ValuesOf(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const std::size_t open = type.find('{');
  const std::size_t close = type.find('}', open);
  if (open != std::string::npos && close != std::string::npos) {
    std::string members = type.substr(open + 1, close - open - 1);
    for (char& c : members) c = c == ',' ? ' ' : c;
    return members;
  }
  // A validator's description follows the name after ':'.
  const auto named = [&type](std::string_view name) {
    return type == name || (type.size() > name.size() && type.compare(0, name.size(), name) == 0 &&
                            type[name.size()] == ':');
  };
  if (named(kPairValue)) return "@pair";
  if (named(kSubjectValue)) return "@subject";
  if (named(kRecordValue)) return "@record";
  if (named(kFileValue) || named(kOutputValue)) return "@file";
  return "@none";
}

bool Hidden(const CLI::Option& option) { return option.get_group().empty(); }

std::vector<std::string> OptionNames(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

std::vector<const CLI::App*> Commands(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App*) { return true; });
}

std::string CodesOf(document::EntryKind kind) {
  std::vector<std::string> codes;
  const std::string kind_name(document::EntryKindName(kind));
  if (const google::protobuf::EnumDescriptor* names = document::TypeCodeNames(kind)) {
    for (int i = 0; i < names->value_count(); ++i) {
      codes.push_back(kind_name + ":" + names->value(i)->name());
      codes.push_back(kind_name + ":" + std::to_string(names->value(i)->number()));
    }
  }
  return fmt::format("{}", fmt::join(codes, " "));
}

}  // namespace

std::string BashCompletion(const CLI::App& app) {
  const std::string program = app.get_name();
  std::string out = fmt::format(
      "# bash completion for {0} {1}, written by `{0} completion bash` from the tool's own\n"
      "# commands, their options and the values these take (the build makes it anew).\n\n",
      program, GCUSCHEMA_VERSION);

  std::vector<std::string> commands, hidden_commands;
  for (const CLI::App* command : Commands(app)) {
    (command->get_group().empty() ? hidden_commands : commands).push_back(command->get_name());
  }
  std::vector<std::string> top_options;
  for (const CLI::Option* option : app.get_options()) {
    if (Hidden(*option)) continue;
    for (const std::string& name : OptionNames(*option)) top_options.push_back(name);
  }
  out += fmt::format("_gcuschema_commands={}\n", Quoted(fmt::format("{}", fmt::join(commands, " "))));
  out += fmt::format("_gcuschema_hidden_commands={}\n", Quoted(fmt::format("{}", fmt::join(hidden_commands, " "))));
  out += fmt::format("_gcuschema_top_options={}\n", Quoted(fmt::format("{}", fmt::join(top_options, " "))));
  out += fmt::format("_gcuschema_records={}\n",
                     Quoted(fmt::format("{}", fmt::join(document::RecordNames(), " "))));

  std::vector<std::string> kinds;
  std::string codes = "declare -gA _gcuschema_codes=(\n";
  for (document::EntryKind kind : document::kEntryKinds) {
    const std::string name(document::EntryKindName(kind));
    kinds.push_back(name + ":");
    codes += fmt::format("  [{}]={}\n", Quoted(name), Quoted(CodesOf(kind)));
  }
  out += fmt::format("_gcuschema_kinds={}\n", Quoted(fmt::format("{}", fmt::join(kinds, " "))));
  out += codes + ")\n";

  // Each command's options as offered; what each option and operand
  // ("COMMAND #N", from 0) takes, flags left out; the operand that takes
  // any number of words, the last.
  std::string options = "declare -gA _gcuschema_options=(\n";
  std::string values = "declare -gA _gcuschema_values=(\n";
  std::string repeat = "declare -gA _gcuschema_repeat=(\n";
  for (const CLI::App* command : Commands(app)) {
    const std::string& name = command->get_name();
    std::vector<std::string> offered;
    int operand = 0;
    for (const CLI::Option* option : command->get_options()) {
      if (!option->nonpositional()) {
        values += fmt::format("  [{}]={}\n", Quoted(fmt::format("{} #{}", name, operand)), Quoted(ValuesOf(*option)));
        if (option->get_items_expected_max() > 1) repeat += fmt::format("  [{}]={}\n", Quoted(name), operand);
        ++operand;
        continue;
      }
      const std::vector<std::string> names = OptionNames(*option);
      if (!Hidden(*option)) offered.insert(offered.end(), names.begin(), names.end());
      if (option->get_items_expected_max() == 0) continue;  // a flag
      for (const std::string& option_name : names) {
        values += fmt::format("  [{}]={}\n", Quoted(name + " " + option_name), Quoted(ValuesOf(*option)));
      }
    }
    options += fmt::format("  [{}]={}\n", Quoted(name), Quoted(fmt::format("{}", fmt::join(offered, " "))));
  }
  out += options + ")\n" + values + ")\n" + repeat + ")\n";
  out += kFunctions;
  return out;
}

}  // namespace gcuschema::tool
