// A print ticket feature read into a value of type T.
#pragma once

#include "xmlhandler.h"

template <class T>
class PTFeature : public XMLHandler {
public:
    explicit PTFeature(IXMLDOMDocument2* document) : XMLHandler(document) {}
    // True when the ticket gives the feature; otherwise the value holds the feature's default.
    virtual bool GetValue(T* value) = 0;
};
