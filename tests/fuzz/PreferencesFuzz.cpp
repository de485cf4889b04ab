// A file of preferences, as a person wrote it, and a change of one of its keys.

#include "platform/TomlText.h"
#include "posix/PlatformException.h"
#include "settings/TomlEditor.h"
#include "tests/fuzz/FuzzInput.h"

using namespace quillo;

namespace {

// Asks for a change, which may be refused and is then none.
template <typename Change>
bool changed(TomlEditor& editor, Change change) {
  const std::string before = editor.text();
  try {
    change(editor);
  } catch (const PlatformException&) {
    fuzz::mustHold(editor.text() == before, "what is refused changes nothing");
    return false;
  }
  const TomlText parsed = TomlText::parse(editor.text());
  fuzz::mustHold(!parsed.problem && sameValues(parsed.values, editor.values()),
                 "the text says what the editor says");
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::textOf(data, size));
  const TomlText parsed = TomlText::parse(text);
  fuzz::mustHold(!parsed.problem || parsed.values.empty(), "what is no TOML says nothing");
  if (parsed.problem) {
    return 0;
  }
  TomlEditor editor(text);
  fuzz::mustHold(sameValues(editor.values(), parsed.values), "the editor reads the same");
  const PreferenceValue value{std::string("/a \"b\"\n\\c")};
  if (changed(editor, [&](TomlEditor& all) { all.set("PathToClamav", value); })) {
    fuzz::mustHold(sameValue(editor.values().at("PathToClamav"), value), "a key has its value");
  }
  if (changed(editor, [](TomlEditor& all) { all.remove("PathToClamav"); })) {
    fuzz::mustHold(editor.values().count("PathToClamav") == 0, "a removed key is gone");
  }
  changed(editor, [](TomlEditor& all) {
    all.addEntry("QuilloFolderArray",
                 {{"pathName", {std::string("/x")}}, {"WatchSubdirs", {true}}});
  });
  changed(editor, [](TomlEditor& all) {
    all.changeEntry("QuilloFolderArray", 0, {{"pathName", {std::string("/y")}}}, {"WatchSubdirs"});
  });
  changed(editor, [](TomlEditor& all) { all.removeEntry("QuilloFolderArray", 0); });
  return 0;
}
