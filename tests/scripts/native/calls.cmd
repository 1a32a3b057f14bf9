MARL_NATIVE_TEST_VALUE=found "$MARL" calls.mr
