using System;
using System.Runtime.InteropServices;
using System.Text;

namespace SystemSearch
{
    /// <summary>The library's texts: UTF-8, ended by a NUL.</summary>
    internal static class Utf8
    {
        /// <summary>The text with its NUL. Another NUL would end it early, and the library would be
        /// asked something else.</summary>
        internal static byte[] Bytes(string text, string parameter)
        {
            if (text == null) throw new ArgumentNullException(parameter);
            if (text.IndexOf('\0') >= 0) throw new ArgumentException("The text must not hold a NUL character.", parameter);
            return Encoding.UTF8.GetBytes(text + "\0");
        }

        /// <summary>A copy of a text of the library.</summary>
        internal static string Copy(IntPtr text)
        {
            if (text == IntPtr.Zero) return "";
            int length = 0;
            while (Marshal.ReadByte(text, length) != 0) ++length;
            var bytes = new byte[length];
            Marshal.Copy(text, bytes, 0, length);
            return Encoding.UTF8.GetString(bytes);
        }
    }
}
