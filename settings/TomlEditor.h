#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/PreferenceStore.h"
#include "settings/TomlSpelling.h"
#include "settings/TomlStatements.h"

namespace quillo {

// Changes a text of TOML (toml.io, v1.0.0) where it has to be changed, and leaves every other byte
// as its author wrote it: comments, order, spelling, line ends, what nobody here knows. What goes
// takes the comment on its own line with it and no other. Values are booleans, whole numbers,
// strings, tables of these, and empty arrays.
//
// Each operation is checked by parsing what came of it: either the text says just what was asked
// for and all else as before, or the operation throws PlatformException (invalidArgument) and
// changes nothing. Owned by one thread.
class TomlEditor {
 public:
  // Throws PlatformException (invalidArgument) when the text is no TOML.
  explicit TomlEditor(std::string text);

  const std::string& text() const { return text_; }
  // Returns what the text says.
  const PreferenceDictionary& values() const { return values_; }

  // Gives a key that value, however and whether or not it was written before.
  void set(const std::string& key, const PreferenceValue& value);
  // Does nothing for a key that is not there.
  void remove(const std::string& key);

  // Arrays of tables, written as "[[list]]" or within brackets. A list that is not there is empty.
  void addEntry(const std::string& list, const TomlFields& entry);
  // Gives fields of the entry these values, and takes those of `without` away.
  void changeEntry(const std::string& list, std::size_t index, const TomlFields& fields,
                   const std::vector<std::string>& without = {});
  // Leaves an empty array behind the last one, which is not the same as none: what other files say
  // of that key does not count then.
  void removeEntry(const std::string& list, std::size_t index);

 private:
  using Statements = std::vector<TomlStatement>;

  // The entry's lines: of its header, of what stands below, and of its own tables.
  struct Block {
    std::size_t header = 0;  // as a number among the statements
    std::vector<std::size_t> rest;
  };

  std::vector<Block> blocksOf(const std::string& list) const;
  const TomlStatement* valueOf(const std::string& key) const;
  PreferenceArray entriesOf(const std::string& list) const;
  TomlMember memberOf(const std::string& list, std::size_t index) const;

  void insertAtRoot(std::string& text, const std::string& line) const;
  void changeBlock(std::string& text, const Block& block, const TomlFields& fields,
                   const std::vector<std::string>& without) const;
  std::vector<TextSpan> linesOf(const Block& block) const;
  void take(std::string text, const PreferenceDictionary& expected);

  std::string text_;
  std::string lineEnd_;
  PreferenceDictionary values_;
  Statements statements_;
};

}  // namespace quillo
