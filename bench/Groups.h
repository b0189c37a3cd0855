// The groups of measurements. Each puts its figures into the report.
#pragma once

#include "bench/Report.h"

namespace bench {

void MeasureMemory(Report &report);
void MeasureSize(Report &report);
void MeasureRendering(Report &report);
void MeasureLogging(Report &report);
void MeasureCache(Report &report);
void MeasureRefresh(Report &report);
void MeasureFirstBuild(Report &report);
void MeasureLoad(Report &report);
void MeasureStart(Report &report);
void MeasureEnd(Report &report);
void MeasureHttp(Report &report);
void MeasureMetrics(Report &report);

// Draws the curves of growth as an SVG. False, with the reason on standard error, when gnuplot cannot.
bool PlotGrowth(const Report &report, const std::string &file);

} // namespace bench
