#include "companion/quarantine/QuarantineQuestions.h"

#include <algorithm>
#include <iterator>

#include "clamav/Verdict.h"

namespace quillo {

QuarantineQuestions::Files QuarantineQuestions::notClean(const Files& files) {
  Files chosen;
  std::copy_if(files.begin(), files.end(), std::back_inserter(chosen),
               [](const QuarantinedFile& file) { return !file.isCleanByNow(); });
  return chosen;
}

std::string QuarantineQuestions::list(const std::vector<std::string>& lines,
                                      std::size_t all) const {
  std::string text;
  for (const std::string& line : lines) {
    text.append(text.empty() ? "" : "\n").append(line);
  }
  if (all > lines.size()) {
    text += "\n" + words_.counted("ASK_MORE", all - lines.size());
  }
  return text;
}

std::string QuarantineQuestions::named(const Files& files) const {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < std::min(files.size(), mostNamed); ++at) {
    lines.push_back(reportedText(files[at].formerName()));
  }
  return list(lines, files.size());
}

Question QuarantineQuestions::infected(const std::string& key, const std::string& button,
                                       const Files& files) const {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < std::min(files.size(), mostNamed); ++at) {
    lines.push_back(reportedText(files[at].formerName()) + ": " +
                    reportedText(words_.threat(files[at])));
  }
  Question question;
  question.text = words_.counted(key, files.size());
  question.detail = words_.text("ASK_INFECTED_DETAIL") + "\n\n" + list(lines, files.size());
  question.buttons = {words_.text(button), words_.text("CANCEL")};
  question.isDangerous = true;
  return question;
}

Question QuarantineQuestions::putBack(const Files& files) const {
  return infected("ASK_RESTORE", "RESTORE_ALL_THE_SAME", files);
}

Question QuarantineQuestions::allow(const Files& files) const {
  return infected("ASK_ALLOW", "ALLOW_ALL_THE_SAME", files);
}

Question QuarantineQuestions::makeFolder(const std::string& folder) const {
  Question question;
  question.text = words_.text("ASK_MAKE_CHOSEN");
  question.detail = reportedText(folder);
  question.buttons = {words_.text("MAKE_FOLDER"), words_.text("CANCEL")};
  return question;
}

Question QuarantineQuestions::makeFolders(const Files& files) const {
  std::vector<std::string> origins;
  for (std::size_t at = 0; at < std::min(files.size(), mostNamed); ++at) {
    origins.push_back(reportedText(words_.origin(files[at])));
  }
  Question question;
  question.text = words_.counted("ASK_MAKE_FOLDER", files.size());
  question.detail = list(origins, files.size());
  question.buttons = {words_.text("MAKE_FOLDER"), words_.text("CANCEL")};
  return question;
}

Question QuarantineQuestions::remove(const Files& files) const {
  Question question;
  question.text = words_.counted("ASK_DELETE", files.size());
  question.detail = words_.text("ASK_DELETE_DETAIL") + "\n\n" + named(files);
  question.buttons = {words_.text("DELETE_CONTINUE"), words_.text("CANCEL")};
  question.isDangerous = true;
  return question;
}

Question QuarantineQuestions::removeForGood(const Files& files) const {
  Question question;
  question.text = words_.counted("ASK_DELETE_AGAIN", files.size());
  question.detail = named(files);
  question.buttons = {words_.text("DELETE_FOR_GOOD"), words_.text("CANCEL")};
  question.isDangerous = true;
  return question;
}

}  // namespace quillo
