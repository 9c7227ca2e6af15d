// What each command of the tool does. Results go to standard output; failures are ToolError or UsageError.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dravik/exchange/CurveSource.h"
#include "dravik/exchange/ValveCurves.h"
#include "dravik/tool/Recorder.h"
#include "dravik/tool/Simulator.h"

namespace dravik {

struct SimulateRequest {
    std::string database;
    Simulation simulation;
    bool replace = false;
    std::string json;  ///< file, or "-" for standard output (then nothing else is printed); empty: none
};
void Simulate(const SimulateRequest& request);

void AddValveCurves(const ValveRequest& request);

/// A dataset a line, or with a dataset a curve a line.
void List(const std::string& database, const std::string& dataset);

void Info(const std::string& database, const std::string& dataset, const std::string& curve);

struct ExportRequest {
    std::string database;
    std::string dataset;
    std::vector<std::string> curves;  ///< empty: all
    std::string output;               ///< .csv or .las; empty: CSV to standard output
    bool wrapped = false;             ///< LAS only
    bool dates = false;               ///< CSV only: times as dates from the start of recording
};
void Export(const ExportRequest& request);

/// Plays a source into a database; SIGINT and SIGTERM end it cleanly.
void Record(const RecordRequest& request, CurveSource& source, const std::string& toolString);

/// True when every chunk is sound; otherwise one line for each bad chunk is printed.
bool Check(const std::string& database);

}  // namespace dravik
