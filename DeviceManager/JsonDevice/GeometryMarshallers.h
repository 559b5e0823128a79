#pragma once

#include <cstddef>

#include <json/value.h>

#include "DeviceManager/JsonDevice/Marshallers.h"
#include "Platform/Devices/Point.h"
#include "Platform/Devices/PointOfView.h"

/// The marshallers of records of numbers: an object with one key for each
/// number. Other keys are passed over; a missing or a null one is a refusal.
namespace JsonDevice {

/// A Point as {"x": ..., "y": ...} or {"x": ..., "y": ..., "z": ...}.
template <class T, std::size_t N>
class JTypePoint : public JType {
    static_assert(N == 2 || N == 3);

public:
    Json::Value toJson(const void* object, const MarshalOptions&) const override {
        const auto& point = *static_cast<const Point<T, N>*>(object);
        Json::Value value(Json::objectValue);
        for (std::size_t i = 0; i < N; ++i) {
            value[keys[i]] = point[i];
        }
        return value;
    }
    void* fromJson(const Json::Value& value) const override {
        if (value.isNull()) {
            return nullptr;
        }
        Point<T, N> point;
        for (std::size_t i = 0; i < N; ++i) {
            constexpr auto kind = std::is_integral_v<T> ? Json::intValue : Json::realValue;
            if (!hasMember(value, keys[i], kind)) {
                refuse(N == 2 ? L"JSON value is not a Point2I" : L"JSON value is not a Point3D", __LINE__);
            }
            if constexpr (std::is_integral_v<T>) {
                point[i] = value[keys[i]].asInt();
            } else {
                point[i] = static_cast<T>(value[keys[i]].asDouble());
            }
        }
        return new Point<T, N>(point);
    }

private:
    static constexpr const char* keys[] = {"x", "y", "z"};
};

class JTypePoint2I : public JTypePoint<int, 2> {};
class JTypePoint3D : public JTypePoint<double, 3> {};
class JTypePoint3F : public JTypePoint<float, 3> {};

/// A PointOfView as an object of its fields. It refuses with the words of the
/// three-dimensional point, as hosts know it.
class JTypePointOfView : public JType {
public:
    Json::Value toJson(const void* object, const MarshalOptions&) const override {
        const auto& view = *static_cast<const PointOfView*>(object);
        Json::Value value(Json::objectValue);
        for (const auto& [key, field] : fields) {
            value[key] = view.*field;
        }
        return value;
    }
    void* fromJson(const Json::Value& value) const override {
        if (value.isNull()) {
            return nullptr;
        }
        PointOfView view;
        for (const auto& [key, field] : fields) {
            if (!hasMember(value, key, Json::realValue)) {
                refuse(L"JSON value is not a Point3D", __LINE__);
            }
            view.*field = value[key].asDouble();
        }
        return new PointOfView(view);
    }

private:
    struct Field {
        const char* key;
        double PointOfView::*field;
    };
    static constexpr Field fields[] = {
        {"x", &PointOfView::x},           {"y", &PointOfView::y},         {"z", &PointOfView::z},
        {"yaw", &PointOfView::yaw},       {"pitch", &PointOfView::pitch}, {"roll", &PointOfView::roll},
        {"left", &PointOfView::left},     {"right", &PointOfView::right}, {"top", &PointOfView::top},
        {"bottom", &PointOfView::bottom},
    };
};

}  // namespace JsonDevice
