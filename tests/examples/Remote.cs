// An object of the component's stand-in: each call is a line over a socket, and so is its answer.
using System;
using System.IO;
using System.Linq;
using System.Net.Sockets;
using System.Runtime.InteropServices;
using System.Text;

namespace QuinmarkRepDLL
{
    public class Remote
    {
        private static readonly Stream wire =
            new TcpClient("127.0.0.1", int.Parse(Environment.GetEnvironmentVariable("COMPONENT"))).GetStream();
        private static readonly StreamReader answers = new StreamReader(wire);
        private readonly string number;

        protected Remote(string number) { this.number = number; }

        protected object Call(string member, params object[] arguments)
        {
            string words = string.Concat(arguments.Select(argument => "\t" + argument));
            byte[] line = Encoding.UTF8.GetBytes(number + "\t" + member + words + "\n");
            wire.Write(line, 0, line.Length);
            string[] answer = answers.ReadLine().Split('\t');
            switch (answer[0])
            {
            case "bool": return bool.Parse(answer[1]);
            case "int": return int.Parse(answer[1]);
            case "error": throw new COMException(answer[3], int.Parse(answer[1])) { Source = answer[2] };
            default: return answer[1];
            }
        }
    }
}
