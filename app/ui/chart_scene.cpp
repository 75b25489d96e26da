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

// A colour as the vertex material takes it: premultiplied bytes, worked out once per shape, not per vertex.
struct Ink {
    unsigned char r = 0, g = 0, b = 0, a = 0;

    static Ink of(const QColor& colour, qreal share = 1) {
        const QColor rgb = colour.toRgb();
        const qreal alpha = std::clamp(rgb.alphaF() * share, 0.0, 1.0);
        const auto byte = [alpha](qreal channel) {
            return static_cast<unsigned char>(std::lround(channel * alpha * 255));
        };
        return {byte(rgb.redF()), byte(rgb.greenF()), byte(rgb.blueF()),
                static_cast<unsigned char>(std::lround(alpha * 255))};
    }
};

struct Mesh {
    std::vector<Vertex> vertices;

    void vertex(QPointF p, Ink ink) {
        Vertex v;
        v.set(static_cast<float>(p.x()), static_cast<float>(p.y()), ink.r, ink.g, ink.b, ink.a);
        vertices.push_back(v);
    }
    void triangle(QPointF a, Ink ia, QPointF b, Ink ib, QPointF c, Ink ic) {
        vertex(a, ia);
        vertex(b, ib);
        vertex(c, ic);
    }
    void quad(QPointF a, Ink ia, QPointF b, Ink ib, QPointF c, Ink ic, QPointF d, Ink id) {
        triangle(a, ia, b, ib, c, ic);
        triangle(a, ia, c, ic, d, id);
    }

    void rect(const QRectF& r, Ink ink) {
        quad(r.topLeft(), ink, r.topRight(), ink, r.bottomRight(), ink, r.bottomLeft(), ink);
    }

    // A polyline with mitred joins: each vertex is pushed out along the mean of its segments' normals, so
    // neighbouring segments share their edges and translucent lines never overlap themselves.
    void line(const ChartScene::Line& polyline) {
        const auto& points = polyline.points;
        if (points.size() < 2) return;
        const qreal half = polyline.width / 2;
        const Ink ink = Ink::of(polyline.colour);
        // Grid lines, levels and the marker are snapped to pixels already; a fringe would only blur them.
        if (points.size() == 2 && (points[0].x() == points[1].x() || points[0].y() == points[1].y())) {
            const QPointF grow(points[0].x() == points[1].x() ? half : 0,
                               points[0].y() == points[1].y() ? half : 0);
            return rect(QRectF(points[0] - grow, points[1] + grow).normalized(), ink);
        }
        const Ink clear;
        normals.resize(points.size());
        const auto normalOf = [&](std::size_t from) {
            const QPointF d = points[from + 1] - points[from];
            const qreal length = std::hypot(d.x(), d.y());
            return length > 0 ? QPointF(-d.y() / length, d.x() / length) : QPointF(0, -1);
        };
        QPointF before = normalOf(0);
        for (std::size_t i = 0; i < points.size(); ++i) {
            const QPointF after = i + 1 < points.size() ? normalOf(i) : before;
            QPointF mean = before + after;
            const qreal length = std::hypot(mean.x(), mean.y());
            mean = length > 1e-6 ? mean / length : after;
            // Long mitres at sharp turns are capped; a near-vertical step of the charge stays thin enough.
            const qreal cosine = std::max(QPointF::dotProduct(mean, after), 0.5);
            normals[i] = mean / cosine;
            before = after;
        }
        vertices.reserve(vertices.size() + 18 * (points.size() - 1));
        for (std::size_t i = 0; i + 1 < points.size(); ++i) {
            const QPointF a = points[i];
            const QPointF b = points[i + 1];
            const QPointF aIn = normals[i] * half, bIn = normals[i + 1] * half;
            const QPointF aOut = normals[i] * (half + 1), bOut = normals[i + 1] * (half + 1);
            quad(a + aOut, clear, b + bOut, clear, b + bIn, ink, a + aIn, ink);
            quad(a + aIn, ink, b + bIn, ink, b - bIn, ink, a - aIn, ink);
            quad(a - aIn, ink, b - bIn, ink, b - bOut, clear, a - aOut, clear);
        }
    }

    // The fill fades linearly from the run's highest point to the baseline, as the painted gradient does;
    // each vertex takes its own share, so the triangles' seams do not show.
    void area(const ChartScene::Area& area) {
        if (area.top.size() < 2) return;
        const qreal depth = std::max(area.baseline - areaTop(area), 1.0);
        const QColor colour = area.colour;
        const auto at = [&](QPointF point) { return Ink::of(colour, (area.baseline - point.y()) / depth); };
        const Ink low;
        vertices.reserve(vertices.size() + 6 * (area.top.size() - 1));
        Ink previous = at(area.top.front());
        for (std::size_t i = 0; i + 1 < area.top.size(); ++i) {
            const QPointF a = area.top[i];
            const QPointF b = area.top[i + 1];
            const Ink next = at(b);
            quad(a, previous, b, next, {b.x(), area.baseline}, low, {a.x(), area.baseline}, low);
            previous = next;
        }
    }

    void dot(const ChartScene::Dot& dot) {
        constexpr int segments = 24;
        const Ink ink = Ink::of(dot.colour);
        const Ink clear;
        const QPointF c = dot.centre;
        for (int i = 0; i < segments; ++i) {
            const qreal a0 = 2 * M_PI * i / segments;
            const qreal a1 = 2 * M_PI * (i + 1) / segments;
            const QPointF u0(std::cos(a0), std::sin(a0));
            const QPointF u1(std::cos(a1), std::sin(a1));
            triangle(c, ink, c + u0 * dot.radius, ink, c + u1 * dot.radius, ink);
            quad(c + u0 * dot.radius, ink, c + u1 * dot.radius, ink, c + u1 * (dot.radius + 1), clear,
                 c + u0 * (dot.radius + 1), clear);
        }
    }

  private:
    std::vector<QPointF> normals;
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
    // Above a plugged strip the lines keep a little air, so a low charge never runs along the strip.
    const QSizeF plotArea =
        style.bandHeight > 0 ? QSizeF(size.width(), size.height() - style.bandHeight - 3) : size;
    for (const auto& tick : plot.chargeTicks) addLevel(scene, tick.at, plotArea, style.grid, 1);
    for (const auto& tick : plot.timeTicks) {
        const qreal x = std::round(tick.at * size.width() - 0.5) + 0.5;
        scene.lines.push_back({{{x, 0}, {x, size.height()}}, style.grid, 1});
    }
    for (const auto& tick : plot.temperatureTicks) addLevel(scene, tick.at, plotArea, style.grid, 1);
    if (plot.heatLevel) addLevel(scene, *plot.heatLevel, plotArea, style.heat, 1, heatDashes);
    for (const auto& run : plot.temperature) {
        Line line{{}, style.temperature, style.quietWidth};
        line.points.reserve(run.size());
        for (const auto& point : run) line.points.push_back(toPixels(point, plotArea));
        scene.lines.push_back(std::move(line));
    }
    if (plot.limitLevel) addLevel(scene, *plot.limitLevel, plotArea, style.limit, 1, limitDashes);
    for (const auto& run : plot.charge) {
        Line line{{}, style.charge, style.chargeWidth};
        line.points.reserve(run.size());
        for (const auto& point : run) line.points.push_back(toPixels(point, plotArea));
        scene.areas.push_back({line.points, (1 - plot.chargeBase) * plotArea.height(), style.fill});
        scene.lines.push_back(std::move(line));
    }
    if (style.latestDot && !plot.charge.empty() && !selection) {
        const QPointF at = toPixels(plot.charge.back().back(), plotArea);
        scene.dots.push_back({at, style.chargeWidth + 2.5, style.halo});
        scene.dots.push_back({at, style.chargeWidth + 1, style.charge});
    }
    if (selection) {
        const QPointF at = toPixels(*selection, plotArea);
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
    for (const auto& band : scene.bands) mesh.rect(band, Ink::of(scene.bandColour));
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
    std::vector<QLineF> segments;
    for (const auto& line : scene.lines) {
        if (line.points.size() < 2) continue;
        if (line.colour.alpha() == 255 && line.points.size() > 2) {
            // The raster engine strokes a long polyline as one outline, which costs a frame's budget at a
            // minute a point; separate segments take its line rasterizer instead. Their square ends overlap
            // at the joins, which only an opaque line can afford.
            painter.setPen(QPen(line.colour, line.width, Qt::SolidLine, Qt::SquareCap));
            segments.clear();
            for (std::size_t i = 0; i + 1 < line.points.size(); ++i) {
                segments.emplace_back(line.points[i], line.points[i + 1]);
            }
            painter.drawLines(segments.data(), static_cast<int>(segments.size()));
            continue;
        }
        QPen pen(line.colour, line.width, Qt::SolidLine, Qt::FlatCap, Qt::BevelJoin);
        // A hairline is drawn by the cosmetic stroker, which is fast and never covers a pixel twice.
        if (line.width <= 1) {
            pen.setCosmetic(true);
            pen.setWidthF(line.width * painter.device()->devicePixelRatioF());
        }
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
