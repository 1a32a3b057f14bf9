# Floating-point inner loop: escape times over a grid of the complex plane.
import sys


def mandelbrot(size, limit):
    inside = iterations = 0
    for y in range(size):
        ci = 2.0 * y / size - 1.0
        for x in range(size):
            cr = 2.0 * x / size - 1.5
            zr = zi = 0.0
            i = 0
            while i < limit and zr * zr + zi * zi <= 4.0:
                t = zr * zr - zi * zi + cr
                zi = 2.0 * zr * zi + ci
                zr = t
                i += 1
            iterations += i
            if i == limit:
                inside += 1
    return inside, iterations


def main():
    size = int(sys.argv[1]) if len(sys.argv) > 1 else 400
    inside, iterations = mandelbrot(size, 50)
    print("%dx%d: %d inside, %d iterations" % (size, size, inside, iterations))


main()
