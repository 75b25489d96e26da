#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QVariantMap>
#include <optional>

#include "history/chart_plot.h"

namespace torvel::app {

// One chart as the views see it: core's layout of a series, its axis words, and the bucket under the pointer
// or the keyboard. The chart item draws `plot()`; QML lays the words around it.
class ChartModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool empty READ empty NOTIFY plotChanged)
    Q_PROPERTY(QVariantList timeTicks READ timeTicks NOTIFY plotChanged)
    Q_PROPERTY(QVariantList chargeTicks READ chargeTicks NOTIFY plotChanged)
    Q_PROPERTY(QVariantList temperatureTicks READ temperatureTicks NOTIFY plotChanged)
    Q_PROPERTY(int limit READ limit WRITE setLimit NOTIFY limitChanged)
    Q_PROPERTY(int thermalLimit READ thermalLimit WRITE setThermalLimit NOTIFY thermalLimitChanged)
    // The legend's words, which name the two limits.
    Q_PROPERTY(QVariantMap legend READ legend NOTIFY legendChanged)
    Q_PROPERTY(bool selected READ selected NOTIFY selectionChanged)
    Q_PROPERTY(double selectedX READ selectedX NOTIFY selectionChanged)
    Q_PROPERTY(double selectedY READ selectedY NOTIFY selectionChanged)
    Q_PROPERTY(QString selectedTime READ selectedTime NOTIFY selectionChanged)
    Q_PROPERTY(QString selectedCharge READ selectedCharge NOTIFY selectionChanged)
    Q_PROPERTY(QString selectedTemperature READ selectedTemperature NOTIFY selectionChanged)
    Q_PROPERTY(bool selectedPlugged READ selectedPlugged NOTIFY selectionChanged)

  public:
    // `frame.limit` and `frame.thermalLimit` are the starting values of the two limit properties.
    explicit ChartModel(ChartPlot::Frame frame, QObject* parent = nullptr);

    // `slotCount` is the count the series was built with. The same series again changes nothing, so a model
    // refreshed on every battery reading does not redraw.
    void setSeries(const ChartSeries& series, int slotCount);
    const ChartSeries& series() const { return series_; }
    const ChartPlot& plot() const { return plot_; }

    bool empty() const { return series_.buckets.empty(); }
    QVariantList timeTicks() const;
    QVariantList chargeTicks() const;
    QVariantList temperatureTicks() const;
    int limit() const { return frame_.limit.value_or(0); }
    void setLimit(int limit);
    int thermalLimit() const { return frame_.thermalLimit.value_or(0); }
    void setThermalLimit(int celsius);
    QVariantMap legend() const { return legend_; }

    bool selected() const { return selection_.has_value(); }
    std::optional<std::size_t> selectedIndex() const { return selection_; }
    double selectedX() const;
    double selectedY() const;
    QString selectedTime() const { return QString::fromStdString(reading_.time); }
    QString selectedCharge() const { return QString::fromStdString(reading_.charge); }
    QString selectedTemperature() const { return QString::fromStdString(reading_.temperature.value_or("")); }
    bool selectedPlugged() const { return reading_.plugged; }

    // The bucket nearest a pointer at `position` (0..1 across the plot); none farther than ten minutes away.
    Q_INVOKABLE void select(double position);
    // Moves the selection by whole buckets, starting from the latest when nothing is selected.
    Q_INVOKABLE void step(int delta);
    Q_INVOKABLE void clearSelection();

  signals:
    void plotChanged();
    void limitChanged();
    void thermalLimitChanged();
    void legendChanged();
    void selectionChanged();

  private:
    void relay();
    void choose(std::optional<std::size_t> index);

    ChartPlot::Frame frame_;
    ChartSeries series_;
    ChartPlot plot_;
    std::optional<std::size_t> selection_;
    ChartPlot::Reading reading_;
    QVariantMap legend_;
};

}  // namespace torvel::app
