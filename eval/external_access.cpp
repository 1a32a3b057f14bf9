// What the evaluator does with automation objects and native functions.
#include "eval/external_access.hpp"

#include <span>
#include <vector>

#include "runtime/error.hpp"
#include "runtime/external_object.hpp"
#include "runtime/marray.hpp"

namespace marl {

namespace {

std::span<const Value> spanOf(const Args &args) { return {args.v, args.n}; }

}  // namespace

bool callNativeValue(const Value &fn, int line, const Args &args, Value &result) {
  MDllFunc *f = asDllFunc(fn);
  if (!f) return false;
  if (args.size() != f->arity()) raise_error(line, "Incorrect argument count for DLL function");
  Value keep = fn;  // the call may overwrite the variable that held it
  f->call(line, spanOf(args), result);
  return true;
}

bool invokeAutomationMember(const Value &obj, const std::string &name, int line, const Args &args,
                            Value &result) {
  MComObj *o = asComObj(obj);
  if (!o) return false;
  Value keep = obj;
  o->invoke(line, name, spanOf(args), result);
  return true;
}

bool readAutomationProperty(const Value &obj, const std::string &name, int line, Value &result) {
  MComObj *o = asComObj(obj);
  if (!o) return false;
  Value keep = obj;
  o->getProperty(line, name, {}, result);
  return true;
}

bool readAutomationItem(const Value &obj, const Value &index, int line, Value &result) {
  MComObj *o = asComObj(obj);
  if (!o) return false;
  if (!index.isNumeric()) raise_error(line, "COM collection index must be number");
  double d = index.number;
  if (!(d > -9.0e18 && d < 9.0e18)) raise_error(line, "Bad index for COM collection");
  Value keep = obj;
  o->item(line, static_cast<long long>(d), result);
  return true;
}

bool automationElements(const Value &coll, int line, Value &array) {
  MComObj *o = asComObj(coll);
  if (!o) return false;
  std::vector<Value> items;
  o->enumerate(line, items);
  MArray *a = new MArray();
  array = Value(a);
  a->items.reserve(items.size());
  for (const Value &v : items) a->push(v);
  return true;
}

}  // namespace marl
