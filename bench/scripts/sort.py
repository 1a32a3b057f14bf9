import random
random.seed(1); a = [random.random() for _ in range(1000000)]; a.sort(); print(a[0] <= a[1])
