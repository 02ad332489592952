#include "desktop/icons.h"

#include <QCoreApplication>
#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>
#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "platform/values/run_time_error.h"

static void RegisterIcons() { Q_INIT_RESOURCE(icons); }

namespace pellago {
namespace {

// With each size comes its double, for screens with two device pixels to one of a window.
constexpr int kSizes[] = {16, 22, 24, 32, 44, 48, 64, 96, 128, 256};

/// The names of the pictures; a picture's handle is its place here plus one.
std::vector<std::string>& Names() {
    static std::vector<std::string> names;
    return names;
}

/// By handle. Emptied while the application goes: pixmaps must not outlive it.
std::map<std::int32_t, QIcon>& Drawn() {
    static std::map<std::int32_t, QIcon> drawn;
    return drawn;
}

QString ResourcePath(const std::string& name) {
    return QStringLiteral(":/pellago/icons/%1.svg").arg(QString::fromStdString(name));
}

QIcon Draw(const std::string& name) {
    QSvgRenderer renderer(ResourcePath(name));
    QIcon icon;
    for (const int size : kSizes) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        renderer.render(&painter);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

bool IsHandle(std::int32_t handle) {
    return handle > 0 && static_cast<std::size_t>(handle) <= Names().size();
}

const std::string& NameOf(std::int32_t handle) { return Names()[static_cast<std::size_t>(handle) - 1]; }

/// A picture that goes by a name of the theme, and is drawn by nobody but us.
class NamedIcon final : public QIconEngine {
public:
    NamedIcon(QIcon picture, QString name) : picture_(std::move(picture)), name_(std::move(name)) {}

    void paint(QPainter* painter, const QRect& place, QIcon::Mode mode, QIcon::State state) override {
        picture_.paint(painter, place, Qt::AlignCenter, mode, state);
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        return picture_.pixmap(size, 1.0, mode, state);
    }
    QList<QSize> availableSizes(QIcon::Mode mode, QIcon::State state) override {
        return picture_.availableSizes(mode, state);
    }
    QString iconName() override { return name_; }
    QIconEngine* clone() const override { return new NamedIcon(*this); }

private:
    QIcon picture_;
    QString name_;
};

}  // namespace

std::int32_t LoadIcon(const std::string& name) {
    RegisterIcons();
    auto& names = Names();
    const auto found = std::find(names.begin(), names.end(), name);
    if (found != names.end()) return static_cast<std::int32_t>(found - names.begin()) + 1;
    if (!QFile::exists(ResourcePath(name)))
        throw RunTimeError(error_number::kInvalidProcedureCall, "LoadIcon",
                           "There is no icon named \"" + name + "\"");
    names.push_back(name);
    return static_cast<std::int32_t>(names.size());
}

QIcon IconFromHandle(std::int32_t handle) {
    if (!IsHandle(handle)) return {};
    auto& drawn = Drawn();
    if (drawn.empty()) qAddPostRoutine([] { Drawn().clear(); });
    auto& icon = drawn[handle];
    if (icon.isNull()) icon = Draw(NameOf(handle));
    return icon;
}

QIcon TrayIconFromHandle(std::int32_t handle) {
    auto picture = IconFromHandle(handle);
    if (picture.isNull()) return picture;
    const auto symbolic = QString::fromStdString(NameOf(handle)) + QStringLiteral("-symbolic");
    return QIcon::hasThemeIcon(symbolic) ? QIcon(new NamedIcon(picture, symbolic)) : picture;
}

}  // namespace pellago
