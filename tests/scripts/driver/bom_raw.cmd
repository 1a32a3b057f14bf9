"$MARL" -N bom_raw.mr
