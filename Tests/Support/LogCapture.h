#pragma once

#include <memory>
#include <string>
#include <vector>

#include <log4cxx/appenderskeleton.h>
#include <log4cxx/helpers/transcoder.h>
#include <log4cxx/logger.h>
#include <log4cxx/spi/loggingevent.h>

/// Collects what one logger writes at a level or above, as "LEVEL text", while it lives.
class LogCapture {
public:
    explicit LogCapture(const std::string& loggerName,
                        const log4cxx::LevelPtr& level = log4cxx::Level::getTrace())
        : logger(log4cxx::Logger::getLogger(loggerName)), appender(std::make_shared<Appender>()) {
        logger->addAppender(appender);
        logger->setAdditivity(false);
        logger->setLevel(level);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture() {
        logger->removeAppender(appender);
        logger->setAdditivity(true);
        logger->setLevel(nullptr);
    }

    const std::vector<std::string>& lines() const { return appender->collected; }

private:
    class Appender : public log4cxx::AppenderSkeleton {
    public:
        void close() override {}
        bool requiresLayout() const override { return false; }

        std::vector<std::string> collected;

    protected:
        void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool&) override {
            std::string line;
            log4cxx::helpers::Transcoder::encode(event->getLevel()->toString(), line);
            std::string text;
            log4cxx::helpers::Transcoder::encodeUTF8(event->getRenderedMessage(), text);
            collected.push_back(line + " " + text);
        }
    };

    log4cxx::LoggerPtr logger;
    std::shared_ptr<Appender> appender;
};
