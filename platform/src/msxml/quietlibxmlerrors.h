// libxml2 reports some errors through per-thread global handlers that print to stderr; the DOM
// collects what it needs through its own contexts instead.
#pragma once

struct _xmlError;

namespace platform::msxml {

// Silences libxml2 on this thread for a scope, then puts back the handlers it found.
class QuietLibxmlErrors {
public:
    QuietLibxmlErrors();
    ~QuietLibxmlErrors();
    QuietLibxmlErrors(const QuietLibxmlErrors&) = delete;
    QuietLibxmlErrors& operator=(const QuietLibxmlErrors&) = delete;

private:
    void* genericContext_;
    void (*generic_)(void*, const char*, ...);
    void* structuredContext_;
    void (*structured_)(void*, struct _xmlError*);
};

}  // namespace platform::msxml
