#include "ui/chart_item.h"

#include <QPainter>
#include <QQuickWindow>
#include <QSGGeometryNode>
#include <QSGRenderNode>
#include <QSGRendererInterface>
#include <QSGVertexColorMaterial>
#include <QtQml>
#include <cstring>

namespace torvel::app {

namespace {

constexpr qreal overhang = 8;

// The software renderer ignores custom geometry; it hands render nodes its painter instead.
class PaintedChart : public QSGRenderNode {
  public:
    explicit PaintedChart(QQuickWindow* window) : window_(window) {}

    void setScene(ChartScene scene, QRectF bounds) {
        scene_ = std::move(scene);
        bounds_ = bounds;
        markDirty(QSGNode::DirtyMaterial);
    }

    void render(const RenderState* state) override {
        auto* painter = static_cast<QPainter*>(
            window_->rendererInterface()->getResource(window_, QSGRendererInterface::PainterResource));
        if (!painter) return;
        painter->save();
        if (const QRegion* clip = state->clipRegion(); clip && !clip->isEmpty()) {
            painter->setClipRegion(*clip, Qt::ReplaceClip);
        }
        painter->setTransform(matrix()->toTransform());
        painter->setOpacity(inheritedOpacity());
        paint(*painter, scene_);
        painter->restore();
    }
    StateFlags changedStates() const override { return {}; }
    RenderingFlags flags() const override { return BoundedRectRendering; }
    QRectF rect() const override { return bounds_; }

  private:
    QQuickWindow* window_;
    ChartScene scene_;
    QRectF bounds_;
};

QSGGeometryNode* meshNode(QSGNode* old) {
    if (auto* node = dynamic_cast<QSGGeometryNode*>(old)) return node;
    delete old;
    auto* node = new QSGGeometryNode;
    auto* geometry = new QSGGeometry(QSGGeometry::defaultAttributes_ColoredPoint2D(), 0);
    geometry->setDrawingMode(QSGGeometry::DrawTriangles);
    node->setGeometry(geometry);
    node->setMaterial(new QSGVertexColorMaterial);
    node->setFlags(QSGNode::OwnsGeometry | QSGNode::OwnsMaterial);
    return node;
}

}  // namespace

ChartItem::ChartItem(QQuickItem* parent) : QQuickItem(parent) {
    setFlag(ItemHasContents, true);
    setAcceptHoverEvents(true);
    setActiveFocusOnTab(true);
}

void ChartItem::setModel(ChartModel* model) {
    if (model_ == model) return;
    if (model_) disconnect(model_, nullptr, this, nullptr);
    model_ = model;
    if (model_) {
        connect(model_, &ChartModel::plotChanged, this, &QQuickItem::update);
        connect(model_, &ChartModel::selectionChanged, this, &QQuickItem::update);
    }
    update();
    emit modelChanged();
}

void ChartItem::setEmber(Ember* ember) {
    if (ember_ == ember) return;
    if (ember_) disconnect(ember_, nullptr, this, nullptr);
    ember_ = ember;
    if (ember_) connect(ember_, &Ember::appearanceChanged, this, &QQuickItem::update);
    update();
    emit emberChanged();
}

void ChartItem::setSparkline(bool sparkline) {
    if (sparkline_ == sparkline) return;
    sparkline_ = sparkline;
    update();
    emit sparklineChanged();
}

ChartStyle ChartItem::style() const {
    const Ember& palette = ember_ ? *ember_ : light_;
    const bool sparkline = sparkline_;
    QColor fill = Ember::ember();
    // A sparkline is mostly its fill; on a chart that is read the fill stays behind the bands and lines.
    fill.setAlphaF(sparkline ? (palette.dark() ? 0.18f : 0.16f) : (palette.dark() ? 0.12f : 0.12f));
    QColor limit = Ember::ember();
    limit.setAlphaF(0.8f);
    QColor heat = Ember::stop();
    heat.setAlphaF(0.7f);
    // Temperature is context for the charge, not a second headline.
    QColor temperature = palette.text3();
    temperature.setAlphaF(0.6f);
    QColor marker = palette.text3();
    marker.setAlphaF(0.6f);
    // On the sparkline plugged time is a strip under the line: full-height bands would drown a small chart.
    const QColor band = sparkline ? palette.track() : palette.zone();
    return {
        .charge = Ember::ember(),
        .fill = fill,
        .band = band,
        .grid = palette.hair(),
        .limit = limit,
        .temperature = temperature,
        .heat = heat,
        .marker = marker,
        .halo = palette.screen(),
        .chargeWidth = sparkline ? 1.75 : 2.0,
        .quietWidth = 1,
        .bandHeight = sparkline ? 3.0 : 0.0,
        .latestDot = sparkline,
    };
}

ChartScene ChartItem::scene() const {
    if (!model_) return {};
    std::optional<ChartPlot::Point> selection;
    if (model_->selected()) selection = ChartPlot::Point{model_->selectedX(), model_->selectedY()};
    return ChartScene::compose(model_->plot(), size(), style(), selection);
}

QSGNode* ChartItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    if (!model_ || width() <= 0 || height() <= 0) {
        delete old;
        return nullptr;
    }
    ChartScene drawn = scene();

    if (window()->rendererInterface()->graphicsApi() == QSGRendererInterface::Software) {
        auto* node = dynamic_cast<PaintedChart*>(old);
        if (!node) {
            delete old;
            node = new PaintedChart(window());
        }
        // Dots at the ends reach past the plot by their radius.
        node->setScene(std::move(drawn), boundingRect().adjusted(-overhang, -overhang, overhang, overhang));
        return node;
    }
    QSGGeometryNode* node = meshNode(old);
    const auto vertices = tessellate(drawn);
    QSGGeometry* geometry = node->geometry();
    geometry->allocate(static_cast<int>(vertices.size()));
    std::memcpy(geometry->vertexDataAsColoredPoint2D(), vertices.data(),
                vertices.size() * sizeof(QSGGeometry::ColoredPoint2D));
    node->markDirty(QSGNode::DirtyGeometry);
    return node;
}

void ChartItem::geometryChange(const QRectF& now, const QRectF& before) {
    QQuickItem::geometryChange(now, before);
    if (now.size() != before.size()) update();
}

void ChartItem::hoverMoveEvent(QHoverEvent* event) {
    // Qt Quick repeats the last hover on every frame, and enters items under a pointer it has only assumed;
    // only a pointer that moved may take the selection from the arrow keys.
    if (event->position() == event->oldPosF()) return;
    if (model_ && width() > 0) model_->select(event->position().x() / width());
}

void ChartItem::hoverLeaveEvent(QHoverEvent*) {
    if (model_) model_->clearSelection();
}

void ChartItem::keyPressEvent(QKeyEvent* event) {
    if (!model_) return QQuickItem::keyPressEvent(event);
    switch (event->key()) {
        case Qt::Key_Left:
            model_->step(-1);
            break;
        case Qt::Key_Right:
            model_->step(1);
            break;
        case Qt::Key_Escape:
            model_->clearSelection();
            break;
        default:
            return QQuickItem::keyPressEvent(event);
    }
    event->accept();
}

}  // namespace torvel::app
