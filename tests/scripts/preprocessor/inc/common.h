#pragma once
#define WHERE "inc dir"
function helper() { return "from inc"; }
