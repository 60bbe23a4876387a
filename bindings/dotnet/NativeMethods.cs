// The thirteen functions of system_search.dll and their records, laid out as in C. What each function
// promises is written in system_search.h.
using System;
using System.Runtime.InteropServices;

// The folder that a program happens to work in is no place to load code from.
[assembly: DefaultDllImportSearchPaths(DllImportSearchPath.AssemblyDirectory | DllImportSearchPath.SafeDirectories)]

namespace SystemSearch
{
    [StructLayout(LayoutKind.Sequential)]
    internal struct EngineStatus
    {
        public uint State;
        public uint Entries;
        public uint Skipped;
        public uint Limited;
        public uint FromCache;
    }

    [StructLayout(LayoutKind.Sequential)]
    internal struct QueryStatus
    {
        public uint State;
        public uint Matched;
        public uint Count;
        public uint IndexEntries;
        public uint IndexIncomplete;
    }

    [StructLayout(LayoutKind.Sequential)]
    internal struct ResultMetadata
    {
        public ulong Size;
        public long Modified;
        public uint Flags;
        public uint Reserved;
    }

    // A handle that is passed to a function is not released before the function returns, even if
    // another thread disposes of it meanwhile.
    internal sealed class EngineHandle : SafeHandle
    {
        internal EngineHandle() : base(IntPtr.Zero, ownsHandle: true) { }

        public override bool IsInvalid => handle == IntPtr.Zero;

        protected override bool ReleaseHandle()
        {
            NativeMethods.ss_destroy(handle);
            return true;
        }
    }

    internal sealed class QueryHandle : SafeHandle
    {
        internal QueryHandle() : base(IntPtr.Zero, ownsHandle: true) { }

        public override bool IsInvalid => handle == IntPtr.Zero;

        protected override bool ReleaseHandle()
        {
            NativeMethods.ss_query_destroy(handle);
            return true;
        }
    }

    internal static class NativeMethods
    {
        private const string Library = "system_search";
        private const CallingConvention C = CallingConvention.Cdecl;

        [DllImport(Library, CallingConvention = C, ExactSpelling = true)]
        internal static extern EngineHandle ss_create();

        [DllImport(Library, CallingConvention = C, ExactSpelling = true)]
        internal static extern int ss_start(EngineHandle engine, byte[] scope, byte[] cache_path, int force);

        [DllImport(Library, CallingConvention = C, ExactSpelling = true)]
        internal static extern void ss_cancel(EngineHandle engine);

        [DllImport(Library, CallingConvention = C, ExactSpelling = true)]
        internal static extern void ss_status(EngineHandle engine, out EngineStatus status);

        [DllImport(Library, CallingConvention = C, ExactSpelling = true)]
        internal static extern IntPtr ss_error(EngineHandle engine);

        [DllImport(Library, CallingConvention = C, ExactSpelling = true)]
        internal static extern void ss_destroy(IntPtr engine);

        [DllImport(Library, CallingConvention = C, ExactSpelling = true)]
        internal static extern QueryHandle ss_query(EngineHandle engine, byte[] text, uint flags, uint kind, int limit);

        [DllImport(Library, CallingConvention = C, ExactSpelling = true)]
        internal static extern QueryHandle ss_query_directory(byte[] directory, byte[] text, uint flags, uint kind, uint limit);

        [DllImport(Library, CallingConvention = C, ExactSpelling = true)]
        internal static extern void ss_query_poll(QueryHandle query, out QueryStatus status);

        [DllImport(Library, CallingConvention = C, ExactSpelling = true)]
        internal static extern IntPtr ss_query_path(QueryHandle query, uint index);

        [DllImport(Library, CallingConvention = C, ExactSpelling = true)]
        internal static extern uint ss_query_kind(QueryHandle query, uint index);

        [DllImport(Library, CallingConvention = C, ExactSpelling = true)]
        internal static extern int ss_query_metadata(QueryHandle query, uint index, out ResultMetadata metadata);

        [DllImport(Library, CallingConvention = C, ExactSpelling = true)]
        internal static extern void ss_query_destroy(IntPtr query);
    }
}
