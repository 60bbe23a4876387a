using System;
using System.Runtime.InteropServices;

namespace SystemSearch
{
    /// <summary>Whether the library can be used in this process.</summary>
    internal static class Library
    {
        private static readonly LibraryUnavailableException? Failure = Check();

        /// <summary>Throws an exception that says why, if it cannot.</summary>
        internal static void Require()
        {
            if (Failure != null) throw new LibraryUnavailableException(Failure.Message, Failure.InnerException);
        }

        /// <summary>What keeps this process from loading the DLL; null if nothing does.</summary>
        internal static string? Complaint(bool isWindows, Architecture process)
        {
            if (!isWindows) return "System Search runs on Windows only.";
            switch (process)
            {
                case Architecture.X64:
                    return null;
                case Architecture.X86:
                    return "system_search.dll is a 64-bit library, and this is a 32-bit process: " +
                        "build the program for x64, without \"Prefer 32-bit\".";
                default:
                    return "system_search.dll is built for x64, and this process is " + process +
                        ": build the program for x64.";
            }
        }

        /// <summary>A function is looked up when it is called first. Another DLL of this name shall be found
        /// out at once, and not in the middle of a search; with null handles no function does anything.</summary>
        private static void CallEachFunction()
        {
            byte[] text = Utf8.Bytes("", nameof(text));
            using (var engine = new EngineHandle())
            using (var query = new QueryHandle())
            {
                NativeMethods.ss_create().Dispose();
                NativeMethods.ss_start(engine, text, text, 0);
                NativeMethods.ss_cancel(engine);
                NativeMethods.ss_status(engine, out _);
                NativeMethods.ss_error(engine);
                NativeMethods.ss_destroy(IntPtr.Zero);
                NativeMethods.ss_query(engine, text, 0, 0, 1).Dispose();
                NativeMethods.ss_query_directory(text, text, 0, 0, 1).Dispose();
                NativeMethods.ss_query_poll(query, out _);
                NativeMethods.ss_query_path(query, 0);
                NativeMethods.ss_query_kind(query, 0);
                NativeMethods.ss_query_metadata(query, 0, out _);
                NativeMethods.ss_query_destroy(IntPtr.Zero);
            }
        }

        private static LibraryUnavailableException? Check()
        {
            bool isWindows = RuntimeInformation.IsOSPlatform(OSPlatform.Windows);
            string? complaint = Complaint(isWindows, RuntimeInformation.ProcessArchitecture);
            if (complaint != null) return new LibraryUnavailableException(complaint, null);
            try
            {
                CallEachFunction();
                return null;
            }
            catch (DllNotFoundException missing)
            {
                return new LibraryUnavailableException(
                    "system_search.dll is missing: it has to lie beside the program, or in runtimes\\win-x64\\native there.",
                    missing);
            }
            catch (BadImageFormatException other)
            {
                return new LibraryUnavailableException(
                    "The system_search.dll beside the program is not a 64-bit library that Windows can load.", other);
            }
            catch (EntryPointNotFoundException other)
            {
                return new LibraryUnavailableException(
                    "The system_search.dll beside the program is not the one of this package: " + other.Message, other);
            }
        }
    }
}
