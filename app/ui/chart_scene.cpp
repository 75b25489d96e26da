#include "ui/chart_scene.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QtMath>
#include <algorithm>
#include <cmath>

namespace torvel::app {

namespace {

using Vertex = QSGGeometry::ColoredPoint2D;

// The charge limit is dashed and the heat limit dotted, so the two thresholds differ without a legend.
struct Dashes {
    qreal on = 0;
    qreal off = 0;
};
constexpr Dashes limitDashes{6, 4};
constexpr Dashes heatDashes{2, 3};

qreal areaTop(const ChartScene::Area& area) {
    qreal top = area.baseline;
    for (const auto& point : area.top) top = std::min(top, point.y());
    return top;
}

QPointF toPixels(const ChartPlot::Point& point, QSizeF size) {
    return {point.x * size.width(), (1.0 - point.y) * size.height()};
}

void addLevel(ChartScene& scene, double level, QSizeF size, const QColor& colour, qreal width,
              std::optional<Dashes> dashes = {}) {
    // Snapped to the pixel grid so a one-pixel level stays crisp in both renderers.
    const qreal y = std::round((1.0 - level) * size.height() - width / 2) + width / 2;
    if (!dashes) {
        scene.lines.push_back({{{0, y}, {size.width(), y}}, colour, width});
        return;
    }
    for (qreal x = 0; x < size.width(); x += dashes->on + dashes->off) {
        scene.lines.push_back({{{x, y}, {std::min(x + dashes->on, size.width()), y}}, colour, width});
    }
}

struct Mesh {
    std::vector<Vertex> vertices;

    void triangle(QPointF a, QColor ca, QPointF b, QColor cb, QPointF c, QColor cc) {
        for (const auto& [p, colour] : {std::pair{a, ca}, std::pair{b, cb}, std::pair{c, cc}}) {
            const QColor pre = colour.toRgb();
            const float alpha = pre.alphaF();
            Vertex v;
            v.set(static_cast<float>(p.x()), static_cast<float>(p.y()),
                  static_cast<unsigned char>(std::lround(pre.redF() * alpha * 255)),
                  static_cast<unsigned char>(std::lround(pre.greenF() * alpha * 255)),
                  static_cast<unsigned char>(std::lround(pre.blueF() * alpha * 255)),
                  static_cast<unsigned char>(std::lround(alpha * 255)));
            vertices.push_back(v);
        }
    }
    void quad(QPointF a, QColor ca, QPointF b, QColor cb, QPointF c, QColor cc, QPointF d, QColor cd) {
        triangle(a, ca, b, cb, c, cc);
        triangle(a, ca, c, cc, d, cd);
    }

    void rect(const QRectF& r, const QColor& colour) {
        quad(r.topLeft(), colour, r.topRight(), colour, r.bottomRight(), colour, r.bottomLeft(), colour);
    }

    // A polyline with mitred joins: each vertex is pushed out along the mean of its segments' normals, so
    // neighbouring segments share their edges and translucent lines never overlap themselves.
    void line(const ChartScene::Line& polyline) {
        const auto& points = polyline.points;
        if (points.size() < 2) return;
        const qreal half = polyline.width / 2;
        // Grid lines, levels and the marker are snapped to pixels already; a fringe would only blur them.
        if (points.size() == 2 && (points[0].x() == points[1].x() || points[0].y() == points[1].y())) {
            const QPointF grow(points[0].x() == points[1].x() ? half : 0,
                               points[0].y() == points[1].y() ? half : 0);
            return rect(QRectF(points[0] - grow, points[1] + grow).normalized(), polyline.colour);
        }
        const QColor clear =
            QColor(polyline.colour.red(), polyline.colour.green(), polyline.colour.blue(), 0);
        std::vector<QPointF> normals(points.size());
        const auto normalOf = [&](std::size_t from) {
            const QPointF d = points[from + 1] - points[from];
            const qreal length = std::hypot(d.x(), d.y());
            return length > 0 ? QPointF(-d.y() / length, d.x() / length) : QPointF(0, -1);
        };
        for (std::size_t i = 0; i < points.size(); ++i) {
            const QPointF before = i > 0 ? normalOf(i - 1) : normalOf(i);
            const QPointF after = i + 1 < points.size() ? normalOf(i) : before;
            QPointF mean = before + after;
            const qreal length = std::hypot(mean.x(), mean.y());
            mean = length > 1e-6 ? mean / length : after;
            // Long mitres at sharp turns are capped; a near-vertical step of the charge stays thin enough.
            const qreal cosine = std::max(QPointF::dotProduct(mean, after), 0.5);
            normals[i] = mean / cosine;
        }
        for (std::size_t i = 0; i + 1 < points.size(); ++i) {
            const QPointF a = points[i];
            const QPointF b = points[i + 1];
            const QPointF na = normals[i];
            const QPointF nb = normals[i + 1];
            const QPointF aIn = na * half, bIn = nb * half, aOut = na * (half + 1), bOut = nb * (half + 1);
            const QColor& c = polyline.colour;
            quad(a + aOut, clear, b + bOut, clear, b + bIn, c, a + aIn, c);
            quad(a + aIn, c, b + bIn, c, b - bIn, c, a - aIn, c);
            quad(a - aIn, c, b - bIn, c, b - bOut, clear, a - aOut, clear);
        }
    }

    // The fill fades linearly from the run's highest point to the baseline, as the painted gradient does;
    // each vertex takes its own share, so the triangles' seams do not show.
    void area(const ChartScene::Area& area) {
        if (area.top.size() < 2) return;
        const qreal highest = areaTop(area);
        const qreal depth = std::max(area.baseline - highest, 1.0);
        const auto at = [&](QPointF point) {
            QColor colour = area.colour;
            colour.setAlphaF(static_cast<float>(area.colour.alphaF() * (area.baseline - point.y()) / depth));
            return colour;
        };
        const QColor low = QColor(area.colour.red(), area.colour.green(), area.colour.blue(), 0);
        for (std::size_t i = 0; i + 1 < area.top.size(); ++i) {
            const QPointF a = area.top[i];
            const QPointF b = area.top[i + 1];
            quad(a, at(a), b, at(b), {b.x(), area.baseline}, low, {a.x(), area.baseline}, low);
        }
    }

    void dot(const ChartScene::Dot& dot) {
        constexpr int segments = 24;
        const QColor clear = QColor(dot.colour.red(), dot.colour.green(), dot.colour.blue(), 0);
        for (int i = 0; i < segments; ++i) {
            const qreal a0 = 2 * M_PI * i / segments;
            const qreal a1 = 2 * M_PI * (i + 1) / segments;
            const QPointF u0(std::cos(a0), std::sin(a0));
            const QPointF u1(std::cos(a1), std::sin(a1));
            const QPointF c = dot.centre;
            triangle(c, dot.colour, c + u0 * dot.radius, dot.colour, c + u1 * dot.radius, dot.colour);
            quad(c + u0 * dot.radius, dot.colour, c + u1 * dot.radius, dot.colour, c + u1 * (dot.radius + 1),
                 clear, c + u0 * (dot.radius + 1), clear);
        }
    }
};

}  // namespace

ChartScene ChartScene::compose(const ChartPlot& plot, QSizeF size, const ChartStyle& style,
                               std::optional<ChartPlot::Point> selection) {
    ChartScene scene;
    scene.bandColour = style.band;
    for (const auto& band : plot.plugged) {
        const qreal top = style.bandHeight > 0 ? size.height() - style.bandHeight : 0;
        scene.bands.emplace_back(QPointF(band.from * size.width(), top),
                                 QPointF(band.to * size.width(), size.height()));
    }
    for (const auto& tick : plot.chargeTicks) addLevel(scene, tick.at, size, style.grid, 1);
    for (const auto& tick : plot.timeTicks) {
        const qreal x = std::round(tick.at * size.width() - 0.5) + 0.5;
        scene.lines.push_back({{{x, 0}, {x, size.height()}}, style.grid, 1});
    }
    if (plot.heatLevel) addLevel(scene, *plot.heatLevel, size, style.heat, 1, heatDashes);
    for (const auto& run : plot.temperature) {
        Line line{{}, style.temperature, style.quietWidth};
        line.points.reserve(run.size());
        for (const auto& point : run) line.points.push_back(toPixels(point, size));
        scene.lines.push_back(std::move(line));
    }
    if (plot.limitLevel) addLevel(scene, *plot.limitLevel, size, style.limit, 1, limitDashes);
    for (const auto& run : plot.charge) {
        Line line{{}, style.charge, style.chargeWidth};
        line.points.reserve(run.size());
        for (const auto& point : run) line.points.push_back(toPixels(point, size));
        scene.areas.push_back({line.points, size.height(), style.fill});
        scene.lines.push_back(std::move(line));
    }
    if (style.latestDot && !plot.charge.empty() && !selection) {
        const QPointF at = toPixels(plot.charge.back().back(), size);
        scene.dots.push_back({at, style.chargeWidth + 2.5, style.halo});
        scene.dots.push_back({at, style.chargeWidth + 1, style.charge});
    }
    if (selection) {
        const QPointF at = toPixels(*selection, size);
        const qreal x = std::round(at.x() - 0.5) + 0.5;
        scene.lines.push_back({{{x, 0}, {x, size.height()}}, style.marker, 1});
        // A ring of the surface around the dot lifts it off the line it sits on.
        scene.dots.push_back({at, style.chargeWidth + 4, style.halo});
        scene.dots.push_back({at, style.chargeWidth + 2, style.charge});
    }
    return scene;
}

std::vector<QSGGeometry::ColoredPoint2D> tessellate(const ChartScene& scene) {
    Mesh mesh;
    for (const auto& band : scene.bands) mesh.rect(band, scene.bandColour);
    for (const auto& area : scene.areas) mesh.area(area);
    for (const auto& line : scene.lines) mesh.line(line);
    for (const auto& dot : scene.dots) mesh.dot(dot);
    return std::move(mesh.vertices);
}

void paint(QPainter& painter, const ChartScene& scene) {
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(Qt::NoPen);
    for (const auto& band : scene.bands) painter.fillRect(band, scene.bandColour);
    for (const auto& area : scene.areas) {
        if (area.top.size() < 2) continue;
        QPainterPath path(QPointF(area.top.front().x(), area.baseline));
        for (const auto& point : area.top) path.lineTo(point);
        path.lineTo(area.top.back().x(), area.baseline);
        path.closeSubpath();
        QLinearGradient gradient(0, areaTop(area), 0, area.baseline);
        gradient.setColorAt(0, area.colour);
        gradient.setColorAt(1, QColor(area.colour.red(), area.colour.green(), area.colour.blue(), 0));
        painter.fillPath(path, gradient);
    }
    for (const auto& line : scene.lines) {
        if (line.points.size() < 2) continue;
        QPen pen(line.colour, line.width, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin);
        painter.setPen(pen);
        painter.drawPolyline(line.points.data(), static_cast<int>(line.points.size()));
    }
    painter.setPen(Qt::NoPen);
    for (const auto& dot : scene.dots) {
        painter.setBrush(dot.colour);
        painter.drawEllipse(dot.centre, dot.radius, dot.radius);
    }
}

}  // namespace torvel::app
