// Objects for the .NET bridge tests: properties, overloads, indexers,
// exceptions, arrays, enums and nested objects.
using System;
using System.Collections;
using System.Collections.Generic;

namespace MarlTest {

public enum Colour { Red = 1, Green = 2, Blue = 4 }

public class Point {
  public int X;
  public double Y { get; set; }
  public override string ToString() { return "(" + X + ", " + Y + ")"; }
}

public class Shelf {
  private readonly List<string> items = new List<string>();
  private readonly Dictionary<string, int> counts = new Dictionary<string, int>();

  public string Name { get; set; } = "shelf";
  public int ReadOnly { get { return 42; } }
  public Colour Tint { get; set; } = Colour.Green;
  public Point Origin { get; } = new Point { X = 3, Y = 4.5 };
  public bool Flag;

  // Overloads told apart by count and by type.
  public string Describe() { return "none"; }
  public string Describe(int n) { return "int:" + n; }
  public string Describe(double d) { return "double:" + d; }
  public string Describe(string s) { return "string:" + s; }
  public string Describe(bool b) { return "bool:" + b; }
  public string Describe(Point p) { return "point:" + p; }
  public string Describe(string s, int n) { return "pair:" + s + "/" + n; }
  public string Describe(object o, object p) { return "objects:" + (o == null ? "null" : o.GetType().Name) + "," + (p == null ? "null" : p.GetType().Name); }

  public void Add(string s) { items.Add(s); }
  public int Count { get { return items.Count; } }

  // A numeric indexer, and a parameterised property with a string key.
  public string this[int i] {
    get { return items[i]; }
    set { items[i] = value; }
  }
  public int Tally(string key) { int n; return counts.TryGetValue(key, out n) ? n : 0; }
  public void Bump(string key) { counts[key] = Tally(key) + 1; }

  public int Sum(int[] values) { int s = 0; foreach (int v in values) s += v; return s; }
  public int Length(object[] values) { return values.Length; }
  public string[] Split(string s) { return s.Split(','); }
  public int[][] Jagged() { return new int[][] { new int[] { 1, 2 }, new int[] { 3 } }; }
  public char Initial(string s) { return s[0]; }
  public string Repeat(char c, int n) { return new string(c, n); }
  public long Big() { return 1L << 40; }
  public object Nothing() { return null; }
  public Point MakePoint(int x, double y) { return new Point { X = x, Y = y }; }
  public static int Twice(int n) { return 2 * n; }
  public bool TryHalf(int n, out int half) { half = n / 2; return n % 2 == 0; }
  public string Swap(ref string s) { string old = s; s = "swapped"; return old; }
  public T Echo<T>(T x) { return x; }
  public T Make<T>() where T : new() { return new T(); }

  public void Fail(string message) { throw new InvalidOperationException(message); }
  public int Explode { get { throw new NotSupportedException("no explosions today"); } }

  public IEnumerable<int> Countdown(int from) { for (int i = from; i > 0; i--) yield return i; }
  public IEnumerable Broken() { yield return 1; throw new Exception("stream broke"); }
}

public class NoDefault {
  public NoDefault(int n) {}
}

public class Fragile {
  public Fragile() { throw new ArgumentException("refused to be built"); }
}

}
