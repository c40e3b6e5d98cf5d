#include "support/TapReports.h"

std::function<void(const TapEvent&)> reportTo(TapReports& reports)
{
    return [&reports](const TapEvent& event) {
        switch (event.kind) {
        case TapEvent::Kind::Key:
            ++reports.keys;
            break;
        case TapEvent::Kind::RepeatedKey:
            ++reports.repeats;
            break;
        case TapEvent::Kind::Click:
            ++reports.clicks;
            break;
        case TapEvent::Kind::Disabled:
            ++reports.notices;
            break;
        }
    };
}
