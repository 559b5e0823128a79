#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/value.h>

/// The one JSON document that the text has to be, with a line end behind it.
inline Json::Value document(const std::string& text) {
    Json::CharReaderBuilder builder;
    builder["failIfExtra"] = true;
    builder["collectComments"] = false;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    std::string errors;
    EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &value, &errors)) << errors << text;
    EXPECT_TRUE(text.ends_with("}\n") || text.ends_with("]\n")) << text;
    return value;
}
