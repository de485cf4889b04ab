// Draws the pictures once, when the program is built: render-images OUTPUT-FOLDER SIZES SVG...
// makes <output>/<size>/<name>.png of every file in every size ("16,22,24").

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <cstdio>
#include <string_view>

#include "posix/Version.h"

namespace {

bool render(const QString& svg, const QString& folder, int size) {
  QSvgRenderer renderer(svg);
  QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  {
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter);
  }
  const QString path = folder + "/" + QFileInfo(svg).completeBaseName() + ".png";
  const bool isGood = renderer.isValid() && QDir().mkpath(folder) && image.save(path, "PNG");
  if (!isGood) {
    std::fprintf(stderr, "render-images: cannot render %s to %s\n", qPrintable(svg),
                 qPrintable(path));
  }
  return isGood;
}

}  // namespace

int main(int argc, char** argv) {
  constexpr char usage[] = "usage: render-images OUTPUT-FOLDER SIZES SVG...\n";
  const std::string_view asked = argc == 2 ? argv[1] : "";
  if (asked == "--help" || asked == "--version") {
    return asked == "--help" ? quillo::printText(usage) : quillo::printVersion("render-images");
  }
  const QCoreApplication application(argc, argv);
  const QStringList arguments = QCoreApplication::arguments();
  if (arguments.size() < 4) {
    std::fputs(usage, stderr);
    return 2;
  }
  for (const QString& svg : arguments.mid(3)) {
    for (const QString& size : arguments.at(2).split(',')) {
      if (!render(svg, arguments.at(1) + "/" + size, size.toInt())) {
        return 1;
      }
    }
  }
  return 0;
}
