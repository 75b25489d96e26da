#pragma once

#include <QPointer>
#include <QQuickItem>

#include "history/chart_model.h"
#include "ui/chart_scene.h"
#include "ui/ember.h"

namespace torvel::app {

// The one chart of the app, drawn straight into the scene graph: one triangle mesh for the hardware
// renderers, painted shapes for the software renderer the panel runs on. Hovering and the arrow keys move
// the model's selection; everything drawn comes from the model's plot.
class ChartItem : public QQuickItem {
    Q_OBJECT
    Q_PROPERTY(torvel::app::ChartModel* model READ model WRITE setModel NOTIFY modelChanged)
    Q_PROPERTY(torvel::app::Ember* ember READ ember WRITE setEmber NOTIFY emberChanged)
    Q_PROPERTY(bool sparkline READ sparkline WRITE setSparkline NOTIFY sparklineChanged)

  public:
    explicit ChartItem(QQuickItem* parent = nullptr);

    ChartModel* model() const { return model_; }
    void setModel(ChartModel* model);
    Ember* ember() const { return ember_; }
    void setEmber(Ember* ember);
    // A sparkline is drawn finer and fainter: it sits among the panel's figures rather than being read
    // closely.
    bool sparkline() const { return sparkline_; }
    void setSparkline(bool sparkline);

    // What the item would draw at its current size.
    ChartScene scene() const;

  signals:
    void modelChanged();
    void emberChanged();
    void sparklineChanged();

  protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData*) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;
    void hoverMoveEvent(QHoverEvent* event) override;
    void hoverLeaveEvent(QHoverEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    ChartStyle style() const;

    QPointer<ChartModel> model_;
    QPointer<Ember> ember_;
    // Until a palette is given the chart draws in the light appearance.
    Ember light_;
    bool sparkline_ = false;
};

}  // namespace torvel::app
