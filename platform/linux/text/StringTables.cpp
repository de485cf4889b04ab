#include "platform/linux/text/StringTables.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibraryInfo>

#include "platform/linux/preferences/TomlFile.h"
#include "posix/Text.h"

namespace quillo {
namespace {

std::string localeOf(const Environment& environment) {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (const auto value = environment.value(name)) {
      return *value;
    }
  }
  return {};
}

// Without ".UTF-8" and "@euro".
std::string_view languageOf(std::string_view locale) {
  return locale.substr(0, locale.find_first_of(".@"));
}

bool isNameOfTable(std::string_view language) {
  return !language.empty() && language.find('/') == std::string_view::npos;
}

}  // namespace

StringTables::StringTables(const std::vector<std::string>& folders,
                           const std::vector<std::string>& languages,
                           const std::function<void(const std::string& problem)>& report) {
  std::vector<std::string> wanted = languages;
  wanted.emplace_back("en");
  for (const std::string& language : wanted) {
    std::map<std::string, std::string> table;
    for (const std::string& folder : folders) {
      const TomlFile file = TomlFile::read(folder + "/" + language + ".toml");
      if (!file.problem.empty() && report) {
        report(file.problem);
      }
      for (const auto& [key, value] : file.values) {
        if (const auto* text = std::get_if<std::string>(&value.value)) {
          table.emplace(key, *text);
        }
      }
    }
    if (language_.empty() && (!table.empty() || language == "en")) {
      language_ = language;
    }
    tables_.push_back(std::move(table));
  }
}

std::vector<std::string> StringTables::foldersOfCompanion(const std::string& strings) {
  const QString pages = QString::fromStdString(strings + "/vantrel");
  std::vector<std::string> folders;
  for (const QString& name : QDir(pages).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
    folders.push_back((pages + u'/' + name).toStdString());
  }
  folders.push_back(strings);
  folders.push_back(strings + "/windows");
  return folders;
}

std::vector<std::string> StringTables::preferredLanguages(const Environment& environment) {
  const std::string locale = localeOf(environment);
  const std::string_view plain = languageOf(locale);
  if (plain.empty() || plain == "C" || plain == "POSIX") {
    return {};
  }
  std::vector<std::string> result;
  const std::string list = environment.value("LANGUAGE").value_or(locale);
  for (const std::string_view entry : split(list, ':')) {
    const std::string_view language = languageOf(entry);
    if (!isNameOfTable(language)) {
      continue;
    }
    result.emplace_back(language);
    if (const std::size_t country = language.find('_'); country != std::string_view::npos) {
      result.emplace_back(language.substr(0, country));
    }
  }
  return result;
}

std::string StringTables::stringForKey(const std::string& key, const std::string& fallback) {
  for (const auto& table : tables_) {
    if (const auto found = table.find(key); found != table.end()) {
      return found->second;
    }
  }
  return fallback;
}

QtTranslation::QtTranslation(const std::string& language) {
  if (translator_.load("qtbase_" + QString::fromStdString(language),
                       QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
    QCoreApplication::installTranslator(&translator_);
  }
}

QtTranslation::~QtTranslation() { QCoreApplication::removeTranslator(&translator_); }

InterfaceTranslator::InterfaceTranslator(LocalizedStrings& strings) : strings_(strings) {
  QCoreApplication::installTranslator(this);
}

InterfaceTranslator::~InterfaceTranslator() { QCoreApplication::removeTranslator(this); }

QString InterfaceTranslator::translate(const char*, const char*, const char* disambiguation,
                                       int) const {
  if (!disambiguation || *disambiguation == '\0') {
    return {};
  }
  const std::string text = strings_.stringForKey(disambiguation, "");
  return text.empty() ? QString() : QString::fromStdString(text);
}

}  // namespace quillo
