#include "tests/desktop/support/controls/InterfaceControls.h"

#include <QDir>
#include <QXmlStreamReader>
#include <map>
#include <set>
#include <stdexcept>

namespace quillo {
namespace {

constexpr char interfaceFolder[] = QUILLO_SOURCE_DIR "/resources/interface/vantrel";
const std::set<std::string> controlTypes = {"QPushButton",  "QToolButton", "QCheckBox",
                                            "QRadioButton", "QComboBox",   "QSpinBox",
                                            "QTabWidget"};

struct Texts {
  QString text;
  QString accessibleName;
};

std::string accessKeyIn(const QString& text) {
  const qsizetype at = text.indexOf('&');
  return at < 0 ? "" : QString(text.at(at + 1).toLower()).toStdString();
}

QString withoutKey(QString text) { return text.remove('&'); }

// One file while it is read.
class Reading {
 public:
  explicit Reading(const QString& path) : file_(path), reader_(&file_) {
    if (!file_.open(QIODevice::ReadOnly)) {
      throw std::runtime_error(path.toStdString() + " cannot be read");
    }
    while (!reader_.atEnd()) {
      take(reader_.readNext());
    }
    if (reader_.hasError()) {
      throw std::runtime_error(path.toStdString() + ": " + reader_.errorString().toStdString());
    }
  }

  std::vector<InterfaceControl> controls() const {
    std::vector<InterfaceControl> all = found_;
    for (InterfaceControl& control : all) {
      const auto own = texts_.find(control.widget);
      const auto label = labels_.find(control.widget);
      const Texts its = own == texts_.end() ? Texts() : own->second;
      const QString naming = label == labels_.end() ? its.text : texts_.at(label->second).text;
      control.accessKey = accessKeyIn(naming);
      // What has a value is read with that, and has its label beside it.
      const bool isNamed = control.type != "QComboBox" && control.type != "QTabWidget";
      const QString& name = its.accessibleName.isEmpty() ? naming : its.accessibleName;
      control.name = isNamed ? withoutKey(name).toStdString() : "";
    }
    return all;
  }

 private:
  void take(QXmlStreamReader::TokenType token) {
    if (token == QXmlStreamReader::EndElement && reader_.name() == u"widget") {
      names_.pop_back();
    }
    if (token != QXmlStreamReader::StartElement) {
      return;
    }
    const QXmlStreamAttributes attributes = reader_.attributes();
    if (reader_.name() == u"widget") {
      names_.push_back(attributes.value("name").toString().toStdString());
      const std::string type = attributes.value("class").toString().toStdString();
      if (controlTypes.count(type) > 0) {
        found_.push_back({names_.back(), type, "", ""});
      }
    } else if (reader_.name() == u"property" || reader_.name() == u"attribute") {
      property_ = attributes.value("name").toString();
    } else if (reader_.name() == u"string" && property_ == u"text") {
      texts_[names_.back()].text = reader_.readElementText();
    } else if (reader_.name() == u"string" && property_ == u"accessibleName") {
      texts_[names_.back()].accessibleName = reader_.readElementText();
    } else if (reader_.name() == u"cstring" && property_ == u"buddy") {
      labels_[reader_.readElementText().toStdString()] = names_.back();
    }
  }

  QFile file_;
  QXmlStreamReader reader_;
  std::vector<std::string> names_;  // of the widgets around the place in the file
  QString property_;
  std::vector<InterfaceControl> found_;
  std::map<std::string, Texts> texts_;
  std::map<std::string, std::string> labels_;  // by what they name
};

}  // namespace

std::string InterfaceControl::usualKeys() const {
  const char* const next = type == "QComboBox" ? " Down" : type == "QSpinBox" ? " Up" : "";
  return "alt+" + accessKey + next;
}

std::vector<std::string> interfacePages() {
  std::vector<std::string> names;
  for (const QString& file : QDir(interfaceFolder).entryList({"*.ui"}, QDir::Files, QDir::Name)) {
    names.push_back(file.chopped(3).toStdString());
  }
  return names;
}

std::vector<InterfaceControl> controlsOf(const std::string& page) {
  return Reading(QString("%1/%2.ui").arg(interfaceFolder, QString::fromStdString(page))).controls();
}

}  // namespace quillo
