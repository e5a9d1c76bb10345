// The order of a page's controls and pictures for a screen reader.
//
// The toolkit's own order is that in which they were made, and so the template's, in which the
// control that has the focus at first comes first. Read from top to bottom, a page has a question
// before its answers.

#include "platform/desktop/page_tree.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QWidget>
#include <QXmlStreamReader>

#include <algorithm>
#include <utility>

namespace platform::desktop {

namespace {

constexpr char LeftOut[] = "left out of the tree";

// What the picture is called: the first title in its source, as the format has it for readers.
QString TitleOf(const Picture& picture) {
    QXmlStreamReader source(QByteArray(reinterpret_cast<const char*>(picture.vector.data()),
                                       static_cast<qsizetype>(picture.vector.size())));
    while (!source.atEnd())
        if (source.readNext() == QXmlStreamReader::StartElement && source.name() == u"title")
            return source.readElementText().simplified();
    return {};
}

// A picture that the surface paints, and that is no widget.
class PictureNode : public QAccessibleInterface {
public:
    PictureNode(QWidget* surface, const QString& title, const QRect& place)
        : surface_(surface), title_(title), place_(place) {}

    QPoint Corner() const { return place_.topLeft(); }

    bool isValid() const override { return true; }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return surface_->window()->windowHandle(); }
    QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(surface_);
    }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Name ? title_ : QString();
    }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override { return place_.translated(surface_->mapToGlobal(QPoint(0, 0))); }
    QAccessible::Role role() const override { return QAccessible::Graphic; }
    QAccessible::State state() const override {
        QAccessible::State state;
        state.readOnly = true;
        state.invisible = !surface_->isVisible();
        return state;
    }

private:
    QWidget* const surface_; // its node outlives this one
    const QString title_;
    const QRect place_;
};

class PageTree : public QAccessibleWidget {
public:
    explicit PageTree(QWidget* surface) : QAccessibleWidget(surface) {}
    ~PageTree() override { RemovePictures(); }

    int childCount() const override { return static_cast<int>(Parts().size()); }
    QAccessibleInterface* child(int index) const override {
        const auto parts = Parts();
        return index >= 0 && index < static_cast<int>(parts.size())
                   ? parts[static_cast<std::size_t>(index)].node
                   : nullptr;
    }
    int indexOfChild(const QAccessibleInterface* child) const override {
        const auto parts = Parts();
        const auto found = std::ranges::find(parts, child, &Part::node);
        return found == parts.end() ? -1 : static_cast<int>(found - parts.begin());
    }

    void Show(const std::vector<PaintedPicture>& pictures) {
        RemovePictures();
        for (const PaintedPicture& painted : pictures) {
            const QString title = TitleOf(*painted.picture);
            if (title.isEmpty())
                continue;
            pictures_.push_back(new PictureNode(
                widget(), title, {painted.x, painted.y, painted.width, painted.height}));
            QAccessible::registerAccessibleInterface(pictures_.back()); // which owns it
        }
    }

private:
    struct Part {
        QPoint corner; // on the surface
        QAccessibleInterface* node;
    };

    void RemovePictures() {
        for (PictureNode* picture : std::exchange(pictures_, {}))
            QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(picture));
    }

    std::vector<Part> Parts() const {
        std::vector<Part> parts;
        for (QWidget* control : widget()->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
            if (!control->property(LeftOut).isValid())
                parts.push_back({control->pos(), QAccessible::queryAccessibleInterface(control)});
        for (PictureNode* picture : pictures_)
            parts.push_back({picture->Corner(), picture});
        std::ranges::stable_sort(parts, {}, [](const Part& part) {
            return std::pair(part.corner.y(), part.corner.x());
        });
        return parts;
    }

    std::vector<PictureNode*> pictures_;
};

} // namespace

void UsePageTree(QWidget* surface) {
    QAccessible::registerAccessibleInterface(new PageTree(surface)); // which owns it from now on
}

void LeaveOutOfTree(QWidget* control) { control->setProperty(LeftOut, true); }

void ShowInTree(QWidget* surface, const std::vector<PaintedPicture>& pictures) {
    static_cast<PageTree*>(QAccessible::queryAccessibleInterface(surface))->Show(pictures);
}

} // namespace platform::desktop
