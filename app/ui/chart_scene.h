#pragma once

#include <QColor>
#include <QPointF>
#include <QRectF>
#include <QSGGeometry>
#include <QSizeF>
#include <optional>
#include <vector>

#include "history/chart_plot.h"

class QPainter;

namespace torvel::app {

// The colours and weights a chart is drawn with; the item fills it from `Ember`.
struct ChartStyle {
    QColor charge;
    QColor fill;
    QColor band;
    QColor grid;
    QColor limit;
    QColor temperature;
    QColor heat;
    QColor marker;
    QColor halo;
    qreal chargeWidth = 2;
    qreal quietWidth = 1;
    // Plugged time fills the plot's height, or lies as a strip this high along its bottom.
    qreal bandHeight = 0;
    // A dot on the latest reading, where a glance at a sparkline ends.
    bool latestDot = false;
};

// A laid-out plot scaled to pixels: what either renderer draws, in order.
struct ChartScene {
    struct Line {
        std::vector<QPointF> points;
        QColor colour;
        qreal width = 1;
    };
    struct Area {
        std::vector<QPointF> top;
        qreal baseline = 0;
        QColor colour;
    };
    struct Dot {
        QPointF centre;
        qreal radius = 0;
        QColor colour;
    };

    std::vector<QRectF> bands;
    QColor bandColour;
    std::vector<Area> areas;
    // Grid, limits, the temperature and then the charge, so the charge is always on top.
    std::vector<Line> lines;
    std::vector<Dot> dots;

    static ChartScene compose(const ChartPlot& plot, QSizeF size, const ChartStyle& style,
                              std::optional<ChartPlot::Point> selection);
};

// Triangles with a one-pixel fading fringe along every line and dot edge: smooth edges without multisampling,
// in one draw call. Colours are premultiplied.
std::vector<QSGGeometry::ColoredPoint2D> tessellate(const ChartScene& scene);

// The same scene for the software renderer, which draws no custom geometry.
void paint(QPainter& painter, const ChartScene& scene);

}  // namespace torvel::app
