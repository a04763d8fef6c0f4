#include "tools/shellprobe/Report.h"

#include <algorithm>

namespace veskard {
namespace {

constexpr const char* kMarks[] = {"  ok    ", "        ", "  BAD   "};
constexpr const char* kNames[] = {"good", "note", "bad"};

}  // namespace

void Report::Section(const std::string& title) {
  parts_.push_back({title, {}});
}

void Report::Add(Finding finding, const std::string& name, const std::string& text,
                 const std::string& value) {
  parts_.back().facts.push_back({finding, name, text, value});
}

bool Report::HasBad(const std::string& name) const {
  return std::any_of(parts_.begin(), parts_.end(), [&](const Part& part) {
    return std::any_of(part.facts.begin(), part.facts.end(), [&](const Fact& fact) {
      return fact.finding == Finding::kBad && (name.empty() || fact.name == name);
    });
  });
}

bool Report::HasBad() const {
  return HasBad("");
}

std::string Report::AsText() const {
  std::string text;
  for (const Part& part : parts_) {
    text += (text.empty() ? "" : "\n") + part.title + "\n";
    for (const Fact& fact : part.facts) text += kMarks[static_cast<size_t>(fact.finding)] + fact.text + "\n";
  }
  return text;
}

void Report::AppendTo(JsonWriter& json) const {
  json.Key("sections").BeginArray();
  for (const Part& part : parts_) {
    json.BeginObject().Field("title", part.title).Key("facts").BeginArray();
    for (const Fact& fact : part.facts) {
      json.BeginObject().Field("name", fact.name).Field("finding", kNames[static_cast<size_t>(fact.finding)]);
      if (!fact.value.empty()) json.Field("value", fact.value);
      json.Field("text", fact.text).EndObject();
    }
    json.EndArray().EndObject();
  }
  json.EndArray();
}

}  // namespace veskard
