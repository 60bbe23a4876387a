// The layout of the assembly's records, in the form of layout.c.
using System;
using System.Reflection;
using System.Runtime.InteropServices;
using System.Text.RegularExpressions;
using SystemSearch;

internal static class Layout
{
    internal static void Print()
    {
        foreach (string name in new[] { "EngineStatus", "QueryStatus", "ResultMetadata" })
        {
            Type record = typeof(SearchEngine).Assembly.GetType("SystemSearch." + name)!;
            Console.WriteLine("{0} {1}", name, Marshal.SizeOf(record));
            foreach (FieldInfo field in record.GetFields())
            {
                string inC = Regex.Replace(field.Name, "(?<!^)([A-Z])", "_$1").ToLowerInvariant();
                Console.WriteLine("{0}.{1} {2} {3}", name, inC, Marshal.OffsetOf(record, field.Name),
                                  Marshal.SizeOf(field.FieldType));
            }
        }
    }
}
