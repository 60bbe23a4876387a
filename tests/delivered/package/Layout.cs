// The layout of the records of examples/csharp, in the form of layout.c.
using System;
using System.Reflection;
using System.Runtime.InteropServices;
using System.Text.RegularExpressions;
using SystemSearch;

internal static class Layout
{
    private static void Main()
    {
        foreach (Type record in new[] { typeof(EngineStatus), typeof(QueryStatus), typeof(ResultMetadata) })
        {
            Console.WriteLine("{0} {1}", record.Name, Marshal.SizeOf(record));
            foreach (FieldInfo field in record.GetFields())
            {
                Type type = field.FieldType.IsEnum
                    ? Enum.GetUnderlyingType(field.FieldType) : field.FieldType;
                string name = Regex.Replace(field.Name, "(?<!^)([A-Z])", "_$1").ToLowerInvariant();
                Console.WriteLine("{0}.{1} {2} {3}", record.Name, name,
                                  Marshal.OffsetOf(record, field.Name), Marshal.SizeOf(type));
            }
        }
    }
}
