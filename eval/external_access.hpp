// What the evaluator does with automation objects and native functions:
// member, element and call access, kept apart from the core access paths.
#pragma once
#include <string>

#include "frontend/functions.hpp"
#include "runtime/value.hpp"

namespace marl {

// Calls `fn` when it holds a native function; false for anything else.
bool callNativeValue(const Value &fn, int line, const Args &args, Value &result);
// `o.name(args)` on an automation object; false when `obj` is not one.
bool invokeAutomationMember(const Value &obj, const std::string &name, int line, const Args &args,
                            Value &result);
// `o.name` on an automation object; false when `obj` is not one.
bool readAutomationProperty(const Value &obj, const std::string &name, int line, Value &result);
// `o[index]` on an automation object; false when `obj` is not one.
bool readAutomationItem(const Value &obj, const Value &index, int line, Value &result);
// foreach: the elements of an automation collection as a new array; false
// when `coll` is not an automation object.
bool automationElements(const Value &coll, int line, Value &array);

}  // namespace marl
