// Report: findings for a person, and the same for a program.
#pragma once

#include <string>
#include <vector>

#include "tools/common/JsonWriter.h"

namespace veskard {

enum class Finding {
  kGood,  // correct
  kNote,  // information
  kBad,   // a fault
};

/// Sections of facts, in the order in which they were found.
class Report {
 public:
  /// Starts a section; facts that follow belong to it.
  void Section(const std::string& title);
  /// `name` identifies the fact for programs, `value` is its value for them, for
  /// example a path or a number. `text` is the fact for people: UTF-8, one line.
  void Add(Finding finding, const std::string& name, const std::string& text, const std::string& value = {});

  void Good(const std::string& name, const std::string& text, const std::string& value = {}) {
    Add(Finding::kGood, name, text, value);
  }
  void Note(const std::string& name, const std::string& text, const std::string& value = {}) {
    Add(Finding::kNote, name, text, value);
  }
  void Bad(const std::string& name, const std::string& text, const std::string& value = {}) {
    Add(Finding::kBad, name, text, value);
  }

  /// Whether a fact of that name, or any fact, is bad.
  bool HasBad(const std::string& name) const;
  bool HasBad() const;

  std::string AsText() const;
  /// Appends "sections": [...] to an object that is being written.
  void AppendTo(JsonWriter& json) const;

 private:
  struct Fact {
    Finding finding;
    std::string name;
    std::string text;
    std::string value;
  };
  struct Part {
    std::string title;
    std::vector<Fact> facts;
  };
  std::vector<Part> parts_;
};

}  // namespace veskard
