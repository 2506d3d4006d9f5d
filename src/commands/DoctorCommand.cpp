#include "commands/DoctorCommand.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

#include "ZunDataModel/store/StoreDoctor.h"
#include "commands/CommandContext.h"

namespace zun {
namespace {

std::string_view nameOf(DoctorFinding::State state) {
    switch (state) {
        case DoctorFinding::State::Fine:
            return "fine";
        case DoctorFinding::State::Repaired:
            return "repaired";
        case DoctorFinding::State::Broken:
            return "broken";
    }
    return "";
}

}  // namespace

int doctorCommand(const std::filesystem::path& folder, const Environment& environment, bool json, std::string& out) {
    const auto findings = StoreDoctor(folder, environment).examine();
    boost::json::array array;
    for (const auto& finding : findings) {
        if (json) {
            array.push_back(boost::json::object{{"state", nameOf(finding.state)}, {"text", finding.text}});
        } else {
            out += fmt::format("{:<9} {}\n", nameOf(finding.state), finding.text);
        }
    }
    if (json) out += boost::json::serialize(array) + "\n";
    const bool isBroken = std::any_of(findings.begin(), findings.end(), [](const DoctorFinding& each) {
        return each.state == DoctorFinding::State::Broken;
    });
    return isBroken ? ExitStatus::notPossible : ExitStatus::done;
}

}  // namespace zun
